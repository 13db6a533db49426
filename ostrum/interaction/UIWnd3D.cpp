#include "ostrum/interaction/UIWnd3D.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/platform/CDC.h"
#include "ostrum/foundation/platform/Capture.h"
#include "ostrum/foundation/platform/Cursor.h"
#include "ostrum/foundation/platform/KeyState.h"
#include "ostrum/foundation/platform/MessageMap.h"
#include "ostrum/foundation/platform/Paint.h"
#include "ostrum/foundation/platform/TickCount.h"
#include "ostrum/foundation/platform/WindowStyles.h"
#include "ostrum/foundation/render/IVDisplaySurface.h"
#include "ostrum/foundation/render/IVRender.h"
#include "ostrum/foundation/render/IVRender2D.h"
#include "ostrum/foundation/render/IVRenderFactory.h"
#include "ostrum/foundation/render/IVRenderStats.h"
#include "ostrum/interaction/UIMouseHandler.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/scene/MSceneEx.h"

IMPLEMENT_DYNCREATE(UIWnd3D, UIWnd)

BEGIN_MESSAGE_MAP(UIWnd3D, UIWnd)
  ON_WM_MOUSEMOVE()
  ON_WM_DESTROY()
  ON_WM_SIZE()
  ON_WM_PAINT()
  ON_WM_CREATE()
  ON_WM_ERASEBKGND()
  ON_WM_RBUTTONUP()
  ON_WM_MBUTTONUP()
  ON_WM_RBUTTONDBLCLK()
END_MESSAGE_MAP()

namespace {

constexpr unsigned long long kDefaultScene = 0xFFFFFFFF;
// The mouse flags of a navigation move: the right or middle button down.
constexpr UINT kNavigationButtons = MK_RBUTTON | MK_MBUTTON;
// The bit of the window style that a 3D window never has.
constexpr DWORD kClearedStyleBit = 0x80;

MTransformRepositoryEx* Repository() { return MDocument::GetTransformRep(); }

// A colour 0x00BBGGRR as the render interface takes it, opaque.
MColor ColorOf(COLORREF color) {
  return MColor((color & 0xFF) / 255.0f, ((color >> 8) & 0xFF) / 255.0f, ((color >> 16) & 0xFF) / 255.0f, 1.0f);
}

// One channel of a scene colour (0 to 1) as a byte: the value rounded to the nearest of 255
// steps. An unset channel (-1) gives 0.
DWORD Channel(float value) {
  const int channel = static_cast<int>(value * 255.0 + 0.5);
  return static_cast<DWORD>(channel < 0 ? 0 : channel > 255 ? 255 : channel);
}

void MatrixFloats(const MMTransform& transform, float* out) {
  double elements[16];
  transform.ConvertDouble16(elements);
  for (int i = 0; i < 16; ++i) out[i] = static_cast<float>(elements[i]);
}

void SetModelTransformOf(IVRender& renderer, const UIObject& object) {
  MTransformRepositoryEx* repository = Repository();
  if (!repository) return;
  float model[16];
  MatrixFloats(repository->GetTransform(object.GetCoordinateSystem(), repository->GetSystemRenderWorld()), model);
  renderer.SetModelTransform(model);
}

UIObject* RootObject() {
  MDataBase* database = MDocument::GetDataBase();
  return database ? &database->GetRootUIObject() : nullptr;
}

}  // namespace

UIWnd3D::CustomRenderer::~CustomRenderer() = default;

UIWnd3D::UIWnd3D() : UIWnd3D(true, false) {}

UIWnd3D::UIWnd3D(bool wrap_cursor, bool extended_draw) : m_wrap_cursor(wrap_cursor), m_extended_draw(extended_draw) {}

UIWnd3D::~UIWnd3D() {
  delete m_custom_renderer;
  m_custom_renderer = nullptr;
  _DeleteDisplaySurface();
  UIWnd3D::_DestroyCurrentRenderer();
}

void UIWnd3D::_DeleteDisplaySurface() {
  delete m_display_surface;
  m_display_surface = nullptr;
}

void UIWnd3D::_RedrawNow() {
  if (m_hWnd) ::RedrawWindow(m_hWnd, nullptr, nullptr, kRedrawNowFlags);
}

// --- camera and systems ---

MCoordinateSystem UIWnd3D::GetCoordinateSystemEye() { return m_camera.GetCoordinateSystemEye(); }
const MCoordinateSystem& UIWnd3D::GetCoordinateSystemEye() const { return m_camera.GetCoordinateSystemEye(); }
MCoordinateSystem UIWnd3D::GetCoordinateSystemWindow() { return m_camera.GetCoordinateSystemWindow(); }
const MCoordinateSystem& UIWnd3D::GetCoordinateSystemWindow() const { return m_camera.GetCoordinateSystemWindow(); }

void UIWnd3D::ResetCamera() { m_camera.Reset(); }
void UIWnd3D::ResetCamera(MCoordinateSystem& eye) { m_camera.Reset(eye); }

std::list<IRender*> UIWnd3D::GetTargetObjectsClipping() { return _GetTargetObjectsClipping(); }
std::list<IRender*> UIWnd3D::GetTargetObjectsInteraction() { return _GetTargetObjectsInteraction(); }

std::list<IRender*> UIWnd3D::_GetTargetObjectsClipping() {
  std::list<IRender*> objects;
  if (MDataBase* database = MDocument::GetDataBase())
    for (UIObjectIterator it = database->GetBeginUIObject(), end = database->GetEndUIObject(); it != end; ++it)
      objects.push_back(static_cast<IRender*>(static_cast<UIObject*>(it)));
  return objects;
}

std::list<IRender*> UIWnd3D::_GetTargetObjectsInteraction() { return _GetTargetObjectsClipping(); }

bool UIWnd3D::GetMouseInSystemMmCoordinates(float* point, float* direction, long x, long y) const {
  return m_camera.GetMouseInSystemMmCoordinates(point, direction, x, y);
}

bool UIWnd3D::GetRayInSystemMmCoordinates(float* point, float* direction, long x, long y) const {
  return m_camera.GetRayInSystemMmCoordinates(point, direction, x, y);
}

bool UIWnd3D::GetMouseInObjectCoordinates(float* point, float* direction, long x, long y, UIObject* object) const {
  float p[3], d[3];
  return m_camera.GetMouseInObjectCoordinates(point ? point : p, direction ? direction : d, x, y, object);
}

bool UIWnd3D::GetMouseInEyeCoordinates(float* point, float* direction, long x, long y) const {
  float p[3], d[3];
  return m_camera.GetMouseInEyeCoordinates(point ? point : p, direction ? direction : d, x, y);
}

void UIWnd3D::TransformToWindow(float* out, float x, float y, float z, const MCoordinateSystem& system,
                                bool direction) {
  if (MTransformRepositoryEx* repository = Repository())
    repository->GetTransform(system, m_camera.GetCoordinateSystemWindow()).Transform(out, x, y, z, direction);
}

void UIWnd3D::TransformToWindow(float* out, float* in, const MCoordinateSystem& system, bool direction) {
  TransformToWindow(out, in[0], in[1], in[2], system, direction);
}

void UIWnd3D::TransformFromWindow(float* out, int x, int y, const MCoordinateSystem& system, bool direction) {
  if (MTransformRepositoryEx* repository = Repository())
    repository->GetTransform(m_camera.GetCoordinateSystemWindow(), system)
        .Transform(out, static_cast<float>(x), static_cast<float>(y), 0.0f, direction);
}

void UIWnd3D::TransformFromWindow(float* out, int* in, const MCoordinateSystem& system, bool direction) {
  TransformFromWindow(out, in[0], in[1], system, direction);
}

bool UIWnd3D::IsPointClipped(float x, float y, float z) {
  MTransformRepositoryEx* repository = Repository();
  MDataBase* database = MDocument::GetDataBase();
  MSceneEx* scene = database ? database->GetScene(static_cast<std::size_t>(m_active_scene)) : nullptr;
  if (!repository || !scene) return false;
  const auto& matrix = dynamic_cast<const MMTransformMatrix&>(
      repository->GetTransform(m_camera.GetCoordinateSystemWindow(), repository->GetSystemRenderWorld()));
  MMPoint3d<double> world;
  matrix.Transform(world, MMPoint3d<double>(x, y, z), false);
  return scene->IsPointClipped(world.x, world.y, world.z);
}

// --- creation, size, destruction ---

BOOL UIWnd3D::PreCreateWindow(CREATESTRUCTW& cs) {
  cs.style |= WS_CLIPSIBLINGS | WS_CLIPCHILDREN;
  cs.style &= ~kClearedStyleBit;
  return UIWnd::PreCreateWindow(cs);
}

int UIWnd3D::OnCreate(CREATESTRUCTW*) {
  if (static_cast<int>(Default()) == -1) return -1;
  _CreateCustomRenderer();
  _CreateDisplaySurface();
  return 0;
}

bool UIWnd3D::_CreateDisplaySurface() {
  _DeleteDisplaySurface();
  CClientDC dc(this);
  m_display_surface = IVRenderFactory::CreateNewIVDisplaySurface(m_hWnd, _GetCurrentRenderer());
  SetActiveColor(kActiveFrameColor);
  SetInactiveColor(kInactiveFrameColor);
  CRect rect;
  GetClientRect(&rect);
  m_width = rect.Width();
  m_height = rect.Height();
  if (m_width >= 1 && m_height >= 1) {
    if (m_display_surface) m_display_surface->Resize(rect, true, dc.GetSafeHdc());
    m_camera.SetWindowRect(rect);
  }
  m_camera.SetParentView(this);
  _RedrawNow();
  return true;
}

void UIWnd3D::OnSize(UINT type, int cx, int cy) {
  // Never below 2 by 2: the camera divides by the window's height.
  cx = std::max<int>(2, static_cast<short>(cx));
  cy = std::max<int>(2, static_cast<short>(cy));
  DefWindowProc(WM_SIZE, type, MAKELPARAM(cx, cy));
  m_width = cx;
  m_height = cy;
  const CRect rect(0, 0, cx, cy);
  if (m_display_surface) m_display_surface->Resize(rect, true, nullptr);
  m_camera.SetWindowRect(rect);
  InvalidateDisplaySurface();
}

BOOL UIWnd3D::OnEraseBkgnd(CDC*) { return 1; }

void UIWnd3D::OnDestroy() {
  _DeleteDisplaySurface();
  _DestroyCurrentRenderer();
  CWnd::OnDestroy();
}

IVRender* UIWnd3D::_GetCurrentRenderer() { return IVRenderFactory::GetCurrentRenderer(); }
bool UIWnd3D::_DestroyCurrentRenderer() { return true; }
void UIWnd3D::_CreateCustomRenderer() {}
bool UIWnd3D::_NeedsFastRedraw(IVRender&) { return false; }

void UIWnd3D::SetActiveScene(const unsigned long long& id) {
  UIWnd::SetActiveScene(id);
  MDataBase* database = MDocument::GetDataBase();
  if (MSceneEx* scene = database ? database->GetScene(static_cast<std::size_t>(id)) : nullptr)
    m_camera_interaction.SetLockMode(scene->GetCameraLockMode());
}

// --- painting ---

void UIWnd3D::OnPaint() {
  CPaintDC dc(this);
  IVRender* renderer = _GetCurrentRenderer();
  // Without a renderer, or between a renderer switch and the next surface, there is nothing
  // to draw with.
  if (!renderer || !m_display_surface) return;
  if (m_extended_draw)
    _OnDrawEx(dc, renderer, m_display_surface);
  else
    _OnDraw(dc, renderer, m_display_surface);
}

void UIWnd3D::_SetTransforms(IVRender& renderer) {
  MTransformRepositoryEx* repository = Repository();
  if (!repository || !m_camera.AreCoordinateSystemsValid()) return;
  const MCoordinateSystem& eye = m_camera.GetCoordinateSystemEye();
  const MCoordinateSystem& window = m_camera.GetCoordinateSystemWindow();
  float view[16];
  MatrixFloats(repository->GetTransform(repository->GetSystemRenderWorld(), eye), view);
  renderer.SetViewTransform(view);
  // The camera's projection ends in window pixels (y down, depth scaled by half the width in
  // whole pixels); the renderer takes normalised device coordinates over the whole surface.
  // So pixel x of the camera lands on pixel x of the surface: x' = 2x/w - 1, y' = 1 - 2y/h,
  // and the depth is scaled back, z' = z/(w/2).
  CRect rect;
  m_camera.GetWindowRect(rect);
  const double width = std::max(1, rect.Width()), height = std::max(1, rect.Height());
  const double half_w = std::max(1, rect.Width() / 2);
  MMTransformMatrix to_ndc;
  to_ndc.SetElement(0, 0, 2.0 / width);
  to_ndc.SetElement(0, 3, -1.0);
  to_ndc.SetElement(1, 1, -2.0 / height);
  to_ndc.SetElement(1, 3, 1.0);
  to_ndc.SetElement(2, 2, 1.0 / half_w, true);
  MMTransformMatrix projection(dynamic_cast<const MMTransformMatrix&>(repository->GetTransform(eye, window)));
  projection.PreMultiply(to_ndc);
  float floats[16];
  projection.ConvertFloat16(floats);
  renderer.SetProjectionTransform(floats);
}

void UIWnd3D::_Enable2DRenderMode(IVRender& renderer, bool enable) {
  if (!enable) {
    _SetTransforms(renderer);
    renderer.EnableLighting(true);
    renderer.EnableDepth(true, true);
    return;
  }
  renderer.EnableLighting(false);
  renderer.EnableDepth(false, false);
  const float identity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  renderer.SetViewTransform(identity);
  renderer.SetModelTransform(identity);
  renderer.SetColorFront(ColorOf(0x808080));
  // The unit square over the window, depth 0 to 100: left 0, right 1, bottom 0, top 1.
  const float left = 0, right = 1, bottom = 0, top = 1, near = 0, far = 100;
  const float projection[16] = {1 / (right - left), 0, 0, -(right + left) / (right - left),
                                0, 1 / (top - bottom), 0, -(top + bottom) / (top - bottom),
                                0, 0, -1 / (near - far), -(near + far) / (near - far),
                                0, 0, 0, 1};
  renderer.SetProjectionTransform(projection);
}

void UIWnd3D::_OnDraw(CDC& dc, IVRender* renderer, IVDisplaySurface* surface) {
  MDocument* document = MDocument::GetActiveDocument();
  if (document && document->IsWndLocked()) return;
  const DWORD start = timeGetTime();
  UIObject* root = RootObject();
  if (!root) return;
  renderer->StartFrame(surface, &dc, false);
  renderer->GetStatistics().StartFrame(!m_fast_rendering);
  surface->Clear(ColorOf(m_color_background), true, true);
  _SetTransforms(*renderer);
  // Once invalid, the plain path keeps drawing the tree at every paint.
  if (m_display_invalid && root->IsVisible(kDefaultScene)) {
    SetModelTransformOf(*renderer, *root);
    root->Render(*renderer, m_camera.GetCoordinateSystemWindow());
  }
  renderer->StopFrame();
  renderer->GetStatistics().StopFrame();
  surface->Present(dc);
  if (root->IsVisible(kDefaultScene)) root->RenderGDI(dc, m_camera.GetCoordinateSystemWindow());
  _DrawFrameRate(dc, timeGetTime() - start);
  if (UIMouseHandler* handler = _GetMouseHandler()) handler->OnInvalidate(dc, this);  // the tool draws last
}

void UIWnd3D::_OnDrawEx(CDC& dc, IVRender* renderer, IVDisplaySurface* surface) {
  const DWORD start = timeGetTime();
  MDataBase* database = MDocument::GetDataBase();
  if (!database) return;
  const std::vector<MSceneEx*> scenes = database->GetScenes();
  if (scenes.empty() || !scenes.front()) return;
  MSceneEx* scene = database->GetScene(static_cast<std::size_t>(m_active_scene));
  if (!scene) {
    scene = scenes.front();
    SetActiveScene(scene->GetSceneID());
  }
  scene->SetCamera(&m_camera);
  if (m_display_invalid) {
    // The costly part: the 3D content, only after an invalidation.
    std::unique_ptr<IVRender2D> overlay(IVRender2DFactory::CreateIVRender2D(renderer));
    renderer->StartFrame(surface, &dc, false);
    renderer->GetStatistics().StartFrame(!m_fast_rendering);
    const MColor& ambient = scene->GetLightAmbient();
    const MColor& diffuse = scene->GetLightDiffuse();
    const MColor& specular = scene->GetLightSpecular();
    renderer->SetGlobalAmbient(ambient.r, ambient.g, ambient.b);
    renderer->SetGlobalDiffuse(diffuse.r, diffuse.g, diffuse.b);
    renderer->SetGlobalSpecular(specular.r, specular.g, specular.b);
    _RenderBackground(*renderer, *scene, surface);
    _SetTransforms(*renderer);
    scene->UpdateClippingPlanes(*renderer);
    if (m_fast_rendering)
      _Render3DFast(*renderer, *scene);
    else
      _Render3D(*renderer, *scene);
    if (overlay && !overlay->DrawsAfterFrame()) {
      overlay->Start2DDrawing(&dc);
      _Render2D(*overlay, *scene);
      overlay->Stop2DDrawing();
    }
    renderer->StopFrame();
    renderer->GetStatistics().StopFrame();
    if (overlay && overlay->DrawsAfterFrame() && surface->HasBitmapDC()) {
      overlay->Start2DDrawing(surface->GetBitmapDC());
      _Render2D(*overlay, *scene);
      overlay->Stop2DDrawing();
    }
    // Desktop drawing that goes into the bitmap is made only with the 3D content.
    if (surface->HasBitmapDC() && surface->GetBitmapDC()) _RenderGDIBitmap(*surface->GetBitmapDC(), *scene);
    m_display_invalid = false;
  }
  // Without a rebuild this is the whole cost of a repaint: one copy of the surface.
  surface->Present(dc);
  if (!surface->HasBitmapDC()) _RenderGDIBitmap(dc, *scene);
  _RenderGDIScreen(dc, *scene);
  scene->SetCamera(nullptr);
  _DrawFrameRate(dc, timeGetTime() - start);
  if (UIMouseHandler* handler = _GetMouseHandler()) handler->OnInvalidate(dc, this);
}

void UIWnd3D::_Render3D(IVRender& renderer, MSceneEx& scene) {
  UIObject* root = RootObject();
  if (!root) return;
  SetModelTransformOf(renderer, *root);
  root->Render(renderer, scene);
}

void UIWnd3D::_Render3DFast(IVRender& renderer, MSceneEx& scene) {
  UIObject* root = RootObject();
  if (!root) return;
  SetModelTransformOf(renderer, *root);
  root->RenderFast(renderer, scene);
}

void UIWnd3D::_RenderGDIBitmap(CDC& dc, MSceneEx& scene) {
  if (UIObject* root = RootObject()) root->RenderGDIBitmap(dc, scene);
}

void UIWnd3D::_RenderGDIScreen(CDC& dc, MSceneEx& scene) {
  if (UIObject* root = RootObject()) root->RenderGDIScreen(dc, scene);
}

void UIWnd3D::_Render2D(IVRender2D& renderer, MSceneEx& scene) {
  if (UIObject* root = RootObject()) root->Render(renderer, scene);
}

void UIWnd3D::_RenderBackground(IVRender&, MSceneEx& scene, IVDisplaySurface* surface) {
  const MColor& background = scene.GetBackgroundColor();
  const COLORREF color = Channel(background.r) | (Channel(background.g) << 8) | (Channel(background.b) << 16);
  if (surface) surface->Clear(ColorOf(color), true, true);
}

std::wstring UIWnd3D::_FormatFrameRate(DWORD milliseconds) {
  if (milliseconds == 0) return L"FpS: 100";
  wchar_t text[64];
  std::swprintf(text, 64, L"FpS: %.2f", static_cast<double>(1000.0f / static_cast<float>(milliseconds)));
  return text;
}

void UIWnd3D::_DrawFrameRate(CDC& dc, DWORD milliseconds) {
  if (!m_show_frame_rate) return;
  const std::wstring text = _FormatFrameRate(milliseconds);
  CFont font;
  font.CreatePointFont(100, L"Tahoma", nullptr);
  CFont* previous = dc.SelectObject(&font);
  dc.SetTextColor(0xFFFFFF);
  dc.SetBkMode(TRANSPARENT);
  CRect client;
  GetClientRect(&client);
  CRect place(client.right - 100, 5, client.right - 5, 20);
  dc.DrawText(text.c_str(), -1, &place, DT_VCENTER | DT_SINGLELINE);
  dc.SelectObject(previous);
}

// --- navigation ---

void UIWnd3D::OnMouseMove(UINT flags, CPoint point) {
  // The same filter of repeated press points as the interactive window's.
  if (point == m_left_down_point) return;
  m_left_down_point = CPoint(kNoPoint, kNoPoint);
  if (point == m_right_down_point) return;
  m_right_down_point = CPoint(kNoPoint, kNoPoint);
  if (!m_right_handled && (flags & kNavigationButtons) != 0) {
    // A navigation move: it never reaches the current tool.
    if (_GetTargetObjectsInteraction().empty()) return;
    if (flags & (MK_SHIFT | MK_MBUTTON))
      _MouseMovePan(point);
    else if (flags & MK_CONTROL)
      _MouseMoveZoom(point);
    else
      _MouseMoveRotate(point);
    _WrapCursor(point);
    IVRender* current = IVRenderFactory::GetCurrentRenderer();
    m_fast_rendering = current && _NeedsFastRedraw(*current);
    InvalidateDisplaySurface();
    if (m_fast_rendering) _RedrawNow();  // a fast move shows at once
    return;
  }
  UIWnd::OnMouseMove(flags, point);
  // Whenever no navigation runs, the cursor is free.
  ::ClipCursor(nullptr);
}

void UIWnd3D::_MouseMovePan(CPoint point) {
  if (!m_camera_interaction.GetIsPanning()) {
    m_camera_interaction.StartPan(point);  // the first move only anchors
    return;
  }
  m_camera_interaction.Pan(point);
  auto* operation = new MOperationView;
  operation->SetAction(MOperationView::ViewActionPan);
  operation->SetDeltas(m_camera_interaction.GetDeltaX(), m_camera_interaction.GetDeltaY(),
                       m_camera_interaction.GetDeltaZ());
  operation->SetWindow(this);
  if (MDocument* document = MDocument::GetActiveDocument())
    document->DoOperation(operation, nullptr);
  else
    delete operation;
}

void UIWnd3D::_MouseMoveZoom(CPoint point) {
  if (!m_camera_interaction.GetIsZooming()) {
    CRect client;
    GetClientRect(&client);
    m_camera_interaction.StartZoom(client, point);
  } else {
    m_camera_interaction.Zoom(point);
  }
  // The first operation carries the factor 0: the camera takes the zoom centre.
  auto* operation = new MOperationView;
  operation->SetAction(MOperationView::ViewActionZoom);
  operation->SetZoomFactor(m_camera_interaction.GetZoomFactor());
  operation->SetPoint(m_camera_interaction.GetZoomCenter());
  operation->SetWindow(this);
  if (MDocument* document = MDocument::GetActiveDocument())
    document->DoOperation(operation, nullptr);
  else
    delete operation;
}

void UIWnd3D::_MouseMoveZoomCenter(CPoint point) {
  // Shared by all windows: only one drag runs at a time.
  static CPoint offset(0, 0);
  if (!m_camera_interaction.GetIsZooming()) {
    CRect client;
    GetClientRect(&client);
    const CPoint center(client.Width() / 2, client.Height() / 2);
    offset = point - center;
    m_camera_interaction.StartZoom(client, center);
  } else {
    m_camera_interaction.Zoom(point - offset);
  }
  auto* operation = new MOperationView;
  operation->SetAction(MOperationView::ViewActionZoom);
  operation->SetZoomFactor(m_camera_interaction.GetZoomFactor());
  operation->SetPoint(m_camera_interaction.GetZoomCenter());
  operation->SetWindow(this);
  operation->DoOperation(nullptr);
}

void UIWnd3D::_MouseMoveRotate(CPoint point) {
  if (!m_camera_interaction.GetIsRotating()) {
    CRect client;
    GetClientRect(&client);
    m_camera_interaction.StartRotate(client, point);
    std::list<IRender*> objects = _GetTargetObjectsInteraction();
    m_camera.StartRotation(objects, kDefaultScene);
    return;
  }
  m_camera_interaction.Rotate(point);
  auto* operation = new MOperationView;
  const float dx = m_camera_interaction.GetDeltaX(), dy = m_camera_interaction.GetDeltaY(),
              dz = m_camera_interaction.GetDeltaZ();
  if (m_rotate_around_object_z)
    operation->SetActionRotateAroundObjectZ(this, dx, dy, dz);
  else
    operation->SetActionRotateStandard(this, dx, dy, dz);
  if (MDocument* document = MDocument::GetActiveDocument())
    document->DoOperation(operation, nullptr);
  else
    delete operation;
}

void UIWnd3D::_WrapCursor(CPoint point) {
  if (!m_wrap_cursor) return;
  CRect client;
  GetClientRect(&client);
  CRect screen = client;
  ClientToScreen(&screen);
  ::ClipCursor(&screen);
  client.DeflateRect(2, 2);
  bool wrapped = false;
  if (point.x < client.left) {
    point.x = client.right;
    wrapped = true;
  }
  if (point.x > client.right) {
    point.x = client.left;
    wrapped = true;
  }
  if (point.y < client.top) {
    point.y = client.bottom;
    wrapped = true;
  }
  if (point.y > client.bottom) {
    point.y = client.top;
    wrapped = true;
  }
  // During a turn about the line of sight the cursor does not wrap.
  if (!wrapped || m_camera_interaction.GetIsRotationZ()) return;
  // The jump is no movement: the next step is measured from where the cursor lands.
  m_camera_interaction.OverridePreviousMousePosition(point);
  ClientToScreen(&point);
  ::SetCursorPos(point.x, point.y);
}

void UIWnd3D::OnRButtonUp(UINT flags, CPoint point) {
  UIWnd::OnRButtonUp(flags, point);
  if (m_fast_rendering) {
    // The final image in full quality.
    InvalidateDisplaySurface();
    m_fast_rendering = false;
  }
  if (m_right_handled) {
    m_right_handled = false;
    return;
  }
  POINT cursor;
  ::GetCursorPos(&cursor);
  point = cursor;
  if (!m_camera_interaction.Stop()) {
    // A click without a drag: the context menu.
    ::GetCursorPos(&cursor);
    ::ClipCursor(nullptr);
    SendMessage(WM_CONTEXTMENU, reinterpret_cast<WPARAM>(m_hWnd), MAKELPARAM(cursor.x, cursor.y));
    return;
  }
  // A drag has ended: the current tool catches up with where the cursor is.
  UIMouseHandler* handler = _GetMouseHandler();
  if (!handler) return;
  ScreenToClient(&point);
  CRect client;
  GetClientRect(&client);
  if (!client.PtInRect(point) && CWnd::GetCapture() != this) return;
  // "Below 1" holds for a key that is up and untoggled as well as for one that is down.
  unsigned key_flags = 0;
  if (GetKeyState(VK_SHIFT) < 1) key_flags |= MK_SHIFT;
  if (GetKeyState(VK_CONTROL) < 1) key_flags |= MK_CONTROL;
  if (GetKeyState(VK_MENU) < 1) key_flags |= 0x20;
  handler->OnMouseMove(this, key_flags, point);
}

void UIWnd3D::OnMButtonUp(UINT flags, CPoint point) {
  Default();
  if (m_camera_interaction.Stop())
    if (UIMouseHandler* handler = _GetMouseHandler()) handler->OnMouseMove(this, flags, point);
  if (m_fast_rendering) {
    InvalidateDisplaySurface();
    m_fast_rendering = false;
  }
}

void UIWnd3D::OnRButtonDblClk(UINT flags, CPoint point) {
  UIWnd::OnRButtonDblClk(flags, point);
  if (m_right_handled) {
    m_right_handled = false;
    return;
  }
  // A right double click shows everything.
  auto* operation = new MOperationView;
  operation->SetAction(MOperationView::ViewActionUnzoomClick);
  operation->SetFlags(0x340000);
  operation->DoOperation(nullptr);
}

// --- view operations ---

bool UIWnd3D::DoOperation(MOperation& operation) {
  auto* view = dynamic_cast<MOperationView*>(&operation);
  if (!view) return UIWnd::DoOperation(operation);
  switch (view->GetAction()) {
    case MOperationView::ViewActionZoomRect:
      m_camera.Zoom(view->GetZoomRect());
      return true;
    case MOperationView::ViewActionUnzoom:
    case MOperationView::ViewActionUnzoomClick:
    case MOperationView::ViewActionUnzoomAlt:
      _UnzoomView();
      return true;
    case MOperationView::ViewActionZoom:
      if (view->GetZoomFactor() == 0.0f)
        m_camera.SetZoomCenter(view->GetPoint());
      else
        m_camera.Zoom(view->GetZoomFactor());
      return true;
    case MOperationView::ViewActionRotate:
      _DoOperationRotate(view);
      return true;
    case MOperationView::ViewActionPan:
      m_camera.TranslateView(view->GetDeltaX(), view->GetDeltaY());
      return true;
    case 208:
    case 209:
      return true;
    case MOperationView::ViewActionParallel:
      m_camera.SetPerspective(false);
      return true;
    case MOperationView::ViewActionPerspective:
      m_camera.SetPerspective(true);
      return true;
    case MOperationView::ViewActionSwitchRenderer:
      // The surface belongs to the old renderer; _CreateDisplaySurface makes the next one.
      _DeleteDisplaySurface();
      return true;
    case MOperationView::ViewActionDefaultView:
    case MOperationView::ViewActionDefaultViewLogged:
      _SetDefaultView(view->GetDefaultView(), view->GetScene());
      return true;
    case MOperationView::ViewActionSetTransform: {
      MMTransformMatrix transform = view->GetTransform();
      m_camera.SetTransformationWorldToEye(transform);
      _UnzoomView();
      return true;
    }
    case MOperationView::ViewActionResetCamera:
      ResetCamera();
      return true;
    default:
      return UIWnd::DoOperation(operation);
  }
}

void UIWnd3D::_DoOperationRotate(MOperationView* operation) {
  bool around_z = false;
  CWnd* window = nullptr;
  float x = 0, y = 0, z = 0;
  operation->GetActionRotate(around_z, window, x, y, z);
  std::list<IRender*> interaction = _GetTargetObjectsInteraction();
  if (around_z)
    m_camera.RotateWorldZ(interaction, -x, -y, z);
  else
    m_camera.Rotate(interaction, x, y, z);
  std::list<IRender*> clipping = _GetTargetObjectsClipping();
  m_camera.SetClippingPlanes(clipping, kDefaultScene);
}

void UIWnd3D::_UnzoomView() {
  std::list<IRender*> objects = _GetTargetObjectsInteraction();
  m_camera.Unzoom(objects, m_active_scene);
  _RedrawNow();
}

void UIWnd3D::_SetDefaultView(MOperationView::MDefaultView view, MScene* scene) {
  const unsigned long long id = scene ? scene->GetSceneID() : kDefaultScene;
  std::list<IRender*> objects = _GetTargetObjectsClipping();
  m_camera.StartRotation(objects, id);
  _SetDefaultViewSpecificRotations(view);
  m_camera.Unzoom(objects, id);
}

void UIWnd3D::_SetDefaultViewSpecificRotations(MOperationView::MDefaultView view) {
  const int index = static_cast<int>(view);
  if (index < 0 || index > 8) return;
  const float* angles = MOperationView::DefaultViewRotationTable[index];
  m_camera.SetRotation(angles[0], angles[1], angles[2]);
}
