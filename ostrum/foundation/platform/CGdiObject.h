#pragma once
// The framework's objects for GDI objects: CGdiObject owns a handle (GdiObjects.h) and deletes it
// when it goes; CPen, CBrush and CFont make theirs. A handle met without an object of its own
// (the previous object SelectObject answers) comes back as a temporary object from FromHandle,
// which lives until the handle is deleted or the thread's model is reset.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CObject.h"
#include "ostrum/foundation/platform/GdiObjects.h"

class CDC;

class OSTRUM_API CGdiObject : public CObject {
  DECLARE_DYNAMIC(CGdiObject)

 public:
  CGdiObject() = default;
  CGdiObject(const CGdiObject&) = delete;
  CGdiObject& operator=(const CGdiObject&) = delete;
  /// Deletes the handle it owns.
  ~CGdiObject() override;

  /// The object owning `handle`, or a temporary one standing in for it (not owning); null for
  /// null.
  static CGdiObject* FromHandle(HGDIOBJ handle);
  HGDIOBJ GetSafeHandle() const { return m_hObject; }
  /// Takes ownership of a handle; FALSE if the object holds one already or `handle` is null.
  BOOL Attach(HGDIOBJ handle);
  /// Gives the handle up without deleting it.
  HGDIOBJ Detach();
  /// Deletes the handle; FALSE if there was none.
  BOOL DeleteObject();
  /// Makes this object stand for a stock object (not deleted with it); FALSE for no such one.
  BOOL CreateStockObject(int index);

  HGDIOBJ m_hObject = nullptr;

 private:
  friend struct CGdiObjectAccess;
  bool m_temporary = false;  // stands in for a handle it does not own
};

class OSTRUM_API CPen : public CGdiObject {
  DECLARE_DYNAMIC(CPen)

 public:
  CPen() = default;
  /// A pen made at once (see CreatePen); without a handle if that fails.
  CPen(int style, int width, COLORREF color);
  /// Makes the pen (PS_*, width in pixels, colour); FALSE for a bad style or if it has one.
  BOOL CreatePen(int style, int width, COLORREF color);
  operator HPEN() const { return static_cast<HPEN>(m_hObject); }
  static CPen* FromHandle(HPEN handle) { return static_cast<CPen*>(CGdiObject::FromHandle(handle)); }
};

class OSTRUM_API CBrush : public CGdiObject {
  DECLARE_DYNAMIC(CBrush)

 public:
  CBrush() = default;
  /// A solid brush made at once.
  explicit CBrush(COLORREF color);
  BOOL CreateSolidBrush(COLORREF color);
  operator HBRUSH() const { return static_cast<HBRUSH>(m_hObject); }
  static CBrush* FromHandle(HBRUSH handle) { return static_cast<CBrush*>(CGdiObject::FromHandle(handle)); }
};

class OSTRUM_API CFont : public CGdiObject {
  DECLARE_DYNAMIC(CFont)

 public:
  BOOL CreateFontIndirect(const LOGFONTW* font);
  /// A font of `point_size` tenths of a point in `face`, at the 96 pixels per inch of the model
  /// (so 100, ten points, is 13 pixels high); `dc` is not needed for that and may be null.
  BOOL CreatePointFont(int point_size, LPCWSTR face, CDC* dc = nullptr);
  operator HFONT() const { return static_cast<HFONT>(m_hObject); }
  static CFont* FromHandle(HFONT handle) { return static_cast<CFont*>(CGdiObject::FromHandle(handle)); }
};
