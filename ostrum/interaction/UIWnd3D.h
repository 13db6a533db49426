#pragma once
// UIWnd3D: the window that shows the document's objects in 3D. It owns a camera and a display
// surface, draws the object tree through the render interface, and takes the right and middle
// mouse buttons as camera navigation, whatever the current tool. Navigation becomes view
// operations that go through the document like every other change; the host's view hands them
// back to this window's DoOperation, where the camera really moves.
//
// Two drawing paths, chosen at construction: the plain one has the tree draw itself in window
// coordinates; the scene-aware one draws the active scene with its lights, clipping planes,
// background and 2D overlays, and rebuilds the 3D content only when the display was
// invalidated, so that a plain repaint is one copy of the surface.

#include <list>
#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/stage/MCameraInteraction.h"
#include "ostrum/interaction/UIWnd.h"
#include "ostrum/scene/MCamera.h"
#include "ostrum/scene/MOperationView.h"

class CDC;
class IRender;
class IVDisplaySurface;
class IVRender;
class IVRender2D;
class MCoordinateSystem;
class MPickerBase;
class MScene;
class MSceneEx;

class OSTRUM_API UIWnd3D : public UIWnd {
  DECLARE_DYNCREATE(UIWnd3D)
  DECLARE_MESSAGE_MAP()

 public:
  /// What a subclass keeps as its own renderer; the window only deletes it.
  class OSTRUM_API CustomRenderer {
   public:
    virtual ~CustomRenderer();
  };

  /// The clear colour of the plain path, 0x00BBGGRR.
  static constexpr COLORREF kDefaultBackground = 0xC08080;
  /// The frame colours of a 3D window: pale green when active, dark grey when not.
  static constexpr COLORREF kActiveFrameColor = 0xC0FFC0;
  static constexpr COLORREF kInactiveFrameColor = 0x404040;
  /// The repaint asked for by "redraw now": RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW.
  static constexpr UINT kRedrawNowFlags = 0x105;

  /// As made from the run-time record: cursor wrapping on, plain drawing path.
  UIWnd3D();
  /// `wrap_cursor`: the cursor wraps at the window's edges during navigation;
  /// `extended_draw`: the scene-aware drawing path instead of the plain one.
  UIWnd3D(bool wrap_cursor, bool extended_draw);
  /// Deletes the custom renderer and any surface left.
  ~UIWnd3D() override;

  // --- the camera ---

  /// The window's camera, owned by value; its parent view is this window once created.
  MCamera& GetCamera() { return m_camera; }
  const MCamera& GetCamera() const { return m_camera; }
  /// Turns mouse positions into navigation steps; its lock mode follows the active scene.
  MCameraInteraction& GetCameraInteraction() { return m_camera_interaction; }
  /// The camera's eye system (render world to eye), by value or by reference.
  MCoordinateSystem GetCoordinateSystemEye();
  const MCoordinateSystem& GetCoordinateSystemEye() const;
  /// The camera's window system (pixels in x and y), by value or by reference.
  MCoordinateSystem GetCoordinateSystemWindow();
  const MCoordinateSystem& GetCoordinateSystemWindow() const;
  /// MCamera::Reset: a new eye below the render world and the default view.
  void ResetCamera();
  /// MCamera::Reset with `eye` as the eye.
  void ResetCamera(MCoordinateSystem& eye);

  // --- objects the camera considers ---

  /// What near and far are fitted to (the virtual _GetTargetObjectsClipping): by default the
  /// IRender of every object of the database, in iterator order.
  std::list<IRender*> GetTargetObjectsClipping();
  /// What rotations and unzoom consider (_GetTargetObjectsInteraction); the same by default.
  std::list<IRender*> GetTargetObjectsInteraction();

  // --- colours and flags ---

  COLORREF GetColorBackground() const { return m_color_background; }
  /// The clear colour of the plain path; no repaint. The scene path uses the scene's colour.
  void SetColorBackground(COLORREF color) { m_color_background = color; }
  /// Whether rotations turn about the object's z axis; only subclasses set it.
  bool GetRotateAroundObjectZ() const { return m_rotate_around_object_z; }
  /// Whether the last navigation move asked for fast drawing.
  bool IsFastRendering() const { return m_fast_rendering; }

  // --- the mouse in space and points between systems ---

  /// MCamera::GetMouseInSystemMmCoordinates; true.
  bool GetMouseInSystemMmCoordinates(float* point, float* direction, long x, long y) const;
  /// MCamera::GetRayInSystemMmCoordinates; true.
  bool GetRayInSystemMmCoordinates(float* point, float* direction, long x, long y) const;
  /// The ray through pixel (x, y) in `object`'s system; either output may be null.
  bool GetMouseInObjectCoordinates(float* point, float* direction, long x, long y, UIObject* object) const override;
  /// The pixel in eye coordinates; either output may be null.
  bool GetMouseInEyeCoordinates(float* point, float* direction, long x, long y) const override;
  using UIWnd::GetMouseInEyeCoordinates;
  using UIWnd::GetMouseInObjectCoordinates;
  /// (x, y, z) of `system` into the window system (pixels); `direction` as the transform's
  /// last argument (false: a point). `out` gets three floats.
  void TransformToWindow(float* out, float x, float y, float z, const MCoordinateSystem& system, bool direction);
  void TransformToWindow(float* out, float* in, const MCoordinateSystem& system, bool direction);
  /// The pixel (x, y) at window depth 0 into `system`; `out` gets three floats.
  void TransformFromWindow(float* out, int x, int y, const MCoordinateSystem& system, bool direction);
  void TransformFromWindow(float* out, int* in, const MCoordinateSystem& system, bool direction);
  /// Whether the window point (x, y, z) lies on the cut-away side of a clipping plane of the
  /// active scene, which must exist.
  bool IsPointClipped(float x, float y, float z);
  /// The window depth of what lies under pixel (x, y): a plain MPickerBase on this window run
  /// through Pick, read as GetPickedPointInWindowCoordinates does; 3.4028235e38 (the largest
  /// float) when nothing is hit.
  float PickZValue(int x, int y);

  // --- overrides of the interactive window ---

  /// Adds WS_CLIPSIBLINGS and WS_CLIPCHILDREN and clears the bit 0x80.
  BOOL PreCreateWindow(CREATESTRUCTW& cs) override;
  /// Carries out the view actions on the camera (see MOperationView); others go to UIWnd.
  bool DoOperation(MOperation& operation) override;
  /// UIWnd's, then the scene's camera lock mode becomes the interaction's lock mode.
  void SetActiveScene(const unsigned long long& id) override;

  // --- virtual operations, in slot order; further ones go behind _NeedsFastRedraw ---

  /// Makes the display surface anew for the current renderer and sizes it; true.
  virtual bool _CreateDisplaySurface();
  /// The renderer in use: IVRenderFactory::GetCurrentRenderer().
  virtual IVRender* _GetCurrentRenderer();
  /// Renderers belong to the factory: destroys nothing, answers true.
  virtual bool _DestroyCurrentRenderer();
  virtual std::list<IRender*> _GetTargetObjectsClipping();
  virtual std::list<IRender*> _GetTargetObjectsInteraction();
  /// Fits the interaction targets of the active scene, then redraws now.
  virtual void _UnzoomView();
  /// A default view of `scene` (null: the default scene): rotation centre, angles, unzoom.
  virtual void _SetDefaultView(MOperationView::MDefaultView view, MScene* scene);
  /// Navigation steps of a drag; each sends a view operation, except a first anchoring move.
  virtual void _MouseMovePan(CPoint point);
  virtual void _MouseMoveZoom(CPoint point);
  /// A zoom about the window's centre, wherever the drag began; run without the document.
  virtual void _MouseMoveZoomCenter(CPoint point);
  virtual void _MouseMoveRotate(CPoint point);
  /// The rotation of a view operation, then near and far fitted again.
  virtual void _DoOperationRotate(MOperationView* operation);
  /// The plain path: the tree draws itself in window coordinates, every paint.
  virtual void _OnDraw(CDC& dc, IVRender* renderer, IVDisplaySurface* surface);
  /// The scene path: the active scene, rebuilt only while the display is invalid.
  virtual void _OnDrawEx(CDC& dc, IVRender* renderer, IVDisplaySurface* surface);
  /// The root in full quality, and while navigating fast.
  virtual void _Render3D(IVRender& renderer, MSceneEx& scene);
  virtual void _Render3DFast(IVRender& renderer, MSceneEx& scene);
  /// Desktop drawing into the surface's bitmap (only when the 3D content was rebuilt), and on
  /// the screen after the copy (every paint).
  virtual void _RenderGDIBitmap(CDC& dc, MSceneEx& scene);
  virtual void _RenderGDIScreen(CDC& dc, MSceneEx& scene);
  /// The 2D overlay of the scene.
  virtual void _Render2D(IVRender2D& renderer, MSceneEx& scene);
  /// For subclasses that keep a renderer of their own; nothing here.
  virtual void _CreateCustomRenderer();
  /// MCamera::SetRotation with the angles of `view`; nothing for a view above 8.
  virtual void _SetDefaultViewSpecificRotations(MOperationView::MDefaultView view);
  /// Clears the surface with the scene's background colour.
  virtual void _RenderBackground(IVRender& renderer, MSceneEx& scene, IVDisplaySurface* surface);
  /// Whether navigation moves draw fast; false: fast drawing is the subclass's choice.
  virtual bool _NeedsFastRedraw(IVRender& renderer);
  /// Runs the picker (MPickerBase::Operate) and answers its result: the place where a window
  /// class changes how its picks are made.
  virtual bool Pick(MPickerBase& picker);

 protected:
  /// View and projection of the camera for the renderer; the projection ends in normalised
  /// device coordinates (the camera's ends in pixels).
  void _SetTransforms(IVRender& renderer);
  /// For subclasses drawing flat overlays: with true, lighting and depth off and a projection
  /// of the unit square; with false, the camera's transforms, lighting and depth back on.
  void _Enable2DRenderMode(IVRender& renderer, bool enable);
  /// The frame-rate overlay at the top right, if m_show_frame_rate.
  void _DrawFrameRate(CDC& dc, DWORD milliseconds);
  /// The overlay's text: "FpS: %.2f", or "FpS: 100" for a frame of 0 ms.
  static std::wstring _FormatFrameRate(DWORD milliseconds);
  /// Keeps a drag from ending at the window's edge: the cursor is confined to the window and
  /// wraps to the opposite side, if m_wrap_cursor.
  void _WrapCursor(CPoint point);
  /// RedrawWindow with kRedrawNowFlags.
  void _RedrawNow();

  int OnCreate(CREATESTRUCTW* cs);
  void OnDestroy();
  void OnSize(UINT type, int cx, int cy);
  void OnPaint();
  BOOL OnEraseBkgnd(CDC* dc);
  void OnMouseMove(UINT flags, CPoint point);
  void OnRButtonUp(UINT flags, CPoint point);
  void OnMButtonUp(UINT flags, CPoint point);
  void OnRButtonDblClk(UINT flags, CPoint point);

  MCamera m_camera;
  MCameraInteraction m_camera_interaction;
  IVDisplaySurface* m_display_surface = nullptr;
  CustomRenderer* m_custom_renderer = nullptr;
  bool m_flag_reserved = true;
  COLORREF m_color_background = kDefaultBackground;
  bool m_show_frame_rate = false;
  bool m_rotate_around_object_z = false;
  bool m_wrap_cursor;
  int32_t m_width = 0;
  int32_t m_height = 0;
  bool m_fast_rendering = false;
  bool m_extended_draw;

 private:
  void _DeleteDisplaySurface();
};
