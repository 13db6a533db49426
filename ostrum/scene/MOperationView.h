#pragma once
// MOperationView: a change of the view, sent through the document like every other change and
// carried out by the windows in their DoOperation. It holds the parameters of the change and
// chooses its flags by action; mostly not undoable and not logged.

#include <cstdint>

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/platform/CPoint.h"
#include "ostrum/foundation/platform/CRect.h"
#include "ostrum/operations/MOperation.h"

class CWnd;
class MOperationContext;
class MScene;

class OSTRUM_API MOperationView : public MOperation {
 public:
  /// The view actions (200 to 244 belong to this class); see SetAction for their flags.
  enum : uint32_t {
    ViewActionZoomRect = 200,             ///< MCamera::Zoom(GetZoomRect())
    ViewActionUnzoom = 201,               ///< the window unzooms
    ViewActionZoom = 203,                 ///< zoom factor 0: SetZoomCenter(GetPoint()); else Zoom(factor)
    ViewActionRotate = 206,               ///< the deltas as degrees (see SetActionRotate...)
    ViewActionPan = 207,                  ///< the deltas x and y as pixels
    ViewActionParallel = 210,             ///< parallel projection
    ViewActionPerspective = 211,          ///< perspective projection
    ViewActionSwitchRenderer = 212,       ///< the window makes its display surface anew
    ViewActionSynchronizeImages = 213,    ///< for the host's windows
    ViewActionDefaultView = 224,          ///< the default view GetDefaultView() of GetScene()
    ViewActionDefaultViewLogged = 225,    ///< the same, logged
    ViewActionSetTransform = 226,         ///< GetTransform() as world to eye, then unzoom
    ViewActionUnzoomClick = 227,          ///< unzoom; flags left as they were
    ViewActionUnzoomAlt = 228,            ///< unzoom; flags left as they were
    ViewActionResetCamera = 230,          ///< the window's camera reset
    ViewActionDefaultViewFirst = 231,     ///< 231 to 237: action 224 with default view 0 to 6
    ViewActionDefaultViewLoggedFirst = 238,  ///< 238 to 244: action 225 with default view 0 to 6
  };

  /// The default views, as rotations of the camera (DefaultViewRotationTable).
  enum MDefaultView : int {
    DefaultView0 = 0,
    DefaultView1,
    DefaultView2,
    DefaultView3,
    DefaultView4,
    DefaultView5,
    DefaultView6,
    DefaultView7,
    DefaultView8,
  };
  /// The angles in degrees (x, y, z) that MCamera::SetRotation is given for each default view.
  static constexpr float DefaultViewRotationTable[9][3] = {
      {-90, 0, 0}, {90, 180, 0}, {-90, 0, 90}, {-90, 0, -90}, {0, 0, 0},
      {0, 180, 0}, {-70, 0, 30}, {-110, 0, 30}, {0, 180, 180},
  };

  /// Action none; zoom factor 1, aspect ratios -1, deltas not set, identity transform.
  MOperationView();
  /// Copies the fields and, of the operation, the action (through SetAction), then the flags,
  /// the sender and the window: flags changed after SetAction survive the copy.
  MOperationView(const MOperationView& other);
  MOperationView& operator=(const MOperationView&) = delete;
  ~MOperationView() override;

  /// MOperation's action, then the flags of the view action; 231 to 244 become 224 or 225
  /// with their default view.
  void SetAction(uint32_t action) override;

  /// Action 206 on window `window`: a rotation by (x, y, z) degrees about the camera's axes.
  void SetActionRotateStandard(CWnd* window, float x, float y, float z);
  /// Action 206: a rotation with z about the object's axis (the yes/no flag set).
  void SetActionRotateAroundObjectZ(CWnd* window, float x, float y, float z);
  /// The rotation's parameters; answers whether it is about the object's z axis.
  bool GetActionRotate(bool& around_z, CWnd*& window, float& x, float& y, float& z) const;

  /// Stores the deltas; from then on AreDeltasSet answers true.
  void SetDeltas(float x, float y, float z);
  bool AreDeltasSet() const { return m_deltas_set; }
  float GetDeltaX() const { return m_delta_x; }
  float GetDeltaY() const { return m_delta_y; }
  float GetDeltaZ() const { return m_delta_z; }

  // Carried for the host's windows; not looked at here.
  bool SkeepPanXY() const { return m_skeep_pan_xy; }
  void SetSkeepPanXY(bool skip) { m_skeep_pan_xy = skip; }
  bool SkeepPanXZ() const { return m_skeep_pan_xz; }
  void SetSkeepPanXZ(bool skip) { m_skeep_pan_xz = skip; }
  bool SkeepPanYZ() const { return m_skeep_pan_yz; }
  void SetSkeepPanYZ(bool skip) { m_skeep_pan_yz = skip; }

  float GetZoomFactor() const { return m_zoom_factor; }
  void SetZoomFactor(float factor) { m_zoom_factor = factor; }
  CRect& GetZoomRect() { return m_zoom_rect; }
  void SetZoomRect(CRect& rect) { m_zoom_rect = rect; }
  CPoint GetPoint() const { return m_point; }
  void SetPoint(CPoint point) { m_point = point; }
  void SetYesNo(bool yes) { m_yes_no = yes; }
  bool IsTrue() const { return m_yes_no; }
  void SetViewID(uint32_t id) { m_view_id = id; }
  uint32_t GetViewID() const { return m_view_id; }
  void GetAspectRatios(float& x, float& y) const {
    x = m_aspect_x;
    y = m_aspect_y;
  }
  void SetAspectRatios(float x, float y) {
    m_aspect_x = x;
    m_aspect_y = y;
  }
  MDefaultView GetDefaultView() const { return m_default_view; }
  void SetDefaultView(MDefaultView view) { m_default_view = view; }
  const MMTransformMatrix& GetTransform() const { return m_transform; }
  void SetTransform(const MMTransformMatrix& transform) { m_transform = transform; }
  MScene* GetScene() const { return m_scene; }
  void SetScene(MScene* scene) { m_scene = scene; }

  /// Action 213 for the host's windows: the point of `window` the images line up on.
  void ViewSynchronizeImages(CWnd* window, CPoint& point);
  /// Action 213 with the point in space as the deltas.
  void ViewSynchronizeImages(float* xyz);

  /// A command is possible when the context has an active window that is not a view; the
  /// action is not looked at.
  static bool IsExecutePossible(const MOperationContext& context, uint32_t action);
  /// Sends a new view operation of `action` to the document and answers the pipeline's result.
  static bool Execute(const MOperationContext& context, uint32_t action);

 protected:
  const wchar_t* _GetActionString() override;

 private:
  float m_delta_x = 0, m_delta_y = 0, m_delta_z = 0;
  bool m_deltas_set = false;
  bool m_skeep_pan_xy = false, m_skeep_pan_xz = false, m_skeep_pan_yz = false;
  float m_zoom_factor = 1.0f;
  CRect m_zoom_rect;
  CPoint m_point;
  bool m_yes_no = false;
  uint32_t m_view_id = 0;
  float m_aspect_x = -1.0f, m_aspect_y = -1.0f;
  MDefaultView m_default_view = DefaultView0;
  MMTransformMatrix m_transform;
  MScene* m_scene = nullptr;
};
