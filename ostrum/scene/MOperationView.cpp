#include "ostrum/scene/MOperationView.h"

#include "ostrum/foundation/platform/CView.h"
#include "ostrum/operations/MOperationContext.h"

namespace {

constexpr uint32_t kKeep = 0xFFFFFFFF;
constexpr uint32_t kView = 0x1240000;  // do, update the view, not logged

// The flags each view action sets, from 200 on; kKeep leaves them as they were.
constexpr uint32_t kFlags[] = {
    kView,     kView,     kView,     kView,     0x40000,   0x40000,   kView,     kView,  // 200-207
    kView,     kView,     kView,     kView,     0x340000,  0x1350000, 0x1100000, 0x1340000,  // 208-215
    kView,     0x1140000, 0x1100000, 0x1350000, 0x1250000, kView,     kView,     kView,  // 216-223
    kView,     0x240000,  0x240000,  kKeep,     kKeep,     kKeep,     kView,  // 224-230
};
constexpr uint32_t kFirst = 200;
constexpr uint32_t kLast = kFirst + sizeof kFlags / sizeof kFlags[0] - 1;

}  // namespace

MOperationView::MOperationView() = default;

MOperationView::MOperationView(const MOperationView& other)
    : MOperation(),
      m_delta_x(other.m_delta_x),
      m_delta_y(other.m_delta_y),
      m_delta_z(other.m_delta_z),
      m_deltas_set(other.m_deltas_set),
      m_skeep_pan_xy(other.m_skeep_pan_xy),
      m_skeep_pan_xz(other.m_skeep_pan_xz),
      m_skeep_pan_yz(other.m_skeep_pan_yz),
      m_zoom_factor(other.m_zoom_factor),
      m_zoom_rect(other.m_zoom_rect),
      m_point(other.m_point),
      m_yes_no(other.m_yes_no),
      m_view_id(other.m_view_id),
      m_aspect_x(other.m_aspect_x),
      m_aspect_y(other.m_aspect_y),
      m_default_view(other.m_default_view),
      m_transform(other.m_transform),
      m_scene(other.m_scene) {
  SetAction(other.GetAction());
  m_default_view = other.m_default_view;  // an action of 224 or 225 keeps the copied view
  SetFlags(other.GetFlags());
  SetSenderID(other.GetSenderID());
  SetWindow(other.GetWindow());
}

MOperationView::~MOperationView() = default;

void MOperationView::SetAction(uint32_t action) {
  if (action >= ViewActionDefaultViewFirst && action < ViewActionDefaultViewLoggedFirst) {
    SetAction(ViewActionDefaultView);
    m_default_view = static_cast<MDefaultView>(action - ViewActionDefaultViewFirst);
    return;
  }
  if (action >= ViewActionDefaultViewLoggedFirst && action <= ViewActionDefaultViewLoggedFirst + 6) {
    SetAction(ViewActionDefaultViewLogged);
    m_default_view = static_cast<MDefaultView>(action - ViewActionDefaultViewLoggedFirst);
    return;
  }
  MOperation::SetAction(action);
  if (action >= kFirst && action <= kLast && kFlags[action - kFirst] != kKeep) SetFlags(kFlags[action - kFirst]);
}

void MOperationView::SetActionRotateStandard(CWnd* window, float x, float y, float z) {
  SetAction(ViewActionRotate);
  SetWindow(window);
  SetDeltas(x, y, z);
  SetYesNo(false);
}

void MOperationView::SetActionRotateAroundObjectZ(CWnd* window, float x, float y, float z) {
  SetAction(ViewActionRotate);
  SetWindow(window);
  SetDeltas(x, y, z);
  SetYesNo(true);
}

bool MOperationView::GetActionRotate(bool& around_z, CWnd*& window, float& x, float& y, float& z) const {
  around_z = IsTrue();
  window = GetWindow();
  x = m_delta_x;
  y = m_delta_y;
  z = m_delta_z;
  return around_z;
}

void MOperationView::SetDeltas(float x, float y, float z) {
  m_delta_x = x;
  m_delta_y = y;
  m_delta_z = z;
  m_deltas_set = true;
}

void MOperationView::ViewSynchronizeImages(CWnd* window, CPoint& point) {
  SetAction(ViewActionSynchronizeImages);
  SetPoint(point);
  SetWindow(window);
}

void MOperationView::ViewSynchronizeImages(float* xyz) {
  SetAction(ViewActionSynchronizeImages);
  SetDeltas(xyz[0], xyz[1], xyz[2]);
}

bool MOperationView::IsExecutePossible(const MOperationContext& context, uint32_t) {
  const CWnd* window = context.GetActiveWindow();
  return window && !dynamic_cast<const CView*>(window);
}

const wchar_t* MOperationView::_GetActionString() {
  uint32_t text_id = 358;
  switch (GetAction()) {
    case ViewActionSwitchRenderer: text_id = 362; break;
    case ViewActionDefaultViewLogged: text_id = 361; break;
    case ViewActionSetTransform: text_id = 363; break;
    case ViewActionUnzoomClick: text_id = 359; break;
    case ViewActionUnzoomAlt: text_id = 360; break;
    default: break;
  }
  return _LoadActionString(text_id);
}
