#include "ostrum/foundation/platform/CGdiObject.h"

#include <cwchar>
#include <memory>
#include <unordered_map>

#include "ostrum/foundation/platform/private/GdiTable.h"
#include "ostrum/foundation/platform/private/ResetHooks.h"

IMPLEMENT_DYNAMIC(CGdiObject, CObject)
IMPLEMENT_DYNAMIC(CPen, CGdiObject)
IMPLEMENT_DYNAMIC(CBrush, CGdiObject)
IMPLEMENT_DYNAMIC(CFont, CGdiObject)

struct CGdiObjectAccess {
  static void MarkTemporary(CGdiObject& object) { object.m_temporary = true; }
};

namespace {

// The thread's objects by handle: those that own their handle, and temporary ones standing in
// for handles met without an object. The temporaries are of the handle's own class, so that a
// CPen* answered for a pen handle is one.
// Objects that outlive the thread's table (static ones, at exit) find none and only delete.
struct Wrappers {
  std::unordered_map<HGDIOBJ, CGdiObject*> owners;
  std::unordered_map<HGDIOBJ, std::unique_ptr<CGdiObject>> temporaries;
  ~Wrappers() { gone = true; }
  static thread_local bool gone;
};
thread_local bool Wrappers::gone = false;
thread_local Wrappers t_table;

Wrappers* Table() { return Wrappers::gone ? nullptr : &t_table; }

[[maybe_unused]] const bool g_reset_registered = Ostrum::Desktop::Private::AddResetHook([] {
  if (Wrappers* table = Table()) table->temporaries.clear();
});

std::unique_ptr<CGdiObject> TemporaryFor(HGDIOBJ handle) {
  std::unique_ptr<CGdiObject> object;
  switch (GetObjectType(handle)) {
    case OBJ_PEN:
      object = std::make_unique<CPen>();
      break;
    case OBJ_BRUSH:
      object = std::make_unique<CBrush>();
      break;
    case OBJ_FONT:
      object = std::make_unique<CFont>();
      break;
    default:
      object = std::make_unique<CGdiObject>();
      break;
  }
  object->m_hObject = handle;  // not owned: never registered as the owner
  CGdiObjectAccess::MarkTemporary(*object);
  return object;
}

}  // namespace

namespace Ostrum::Desktop::Private {

void ForgetGdiObjectWrapper(HGDIOBJ handle) {
  if (Wrappers* table = Table()) table->temporaries.erase(handle);
}

}  // namespace Ostrum::Desktop::Private

CGdiObject::~CGdiObject() { DeleteObject(); }

CGdiObject* CGdiObject::FromHandle(HGDIOBJ handle) {
  Wrappers* table = Table();
  if (!handle || !table) return nullptr;
  if (auto it = table->owners.find(handle); it != table->owners.end()) return it->second;
  auto& temporary = table->temporaries[handle];
  if (!temporary) temporary = TemporaryFor(handle);
  return temporary.get();
}

BOOL CGdiObject::Attach(HGDIOBJ handle) {
  if (m_hObject || !handle) return FALSE;
  m_hObject = handle;
  if (Wrappers* table = Table()) table->owners[handle] = this;
  return TRUE;
}

HGDIOBJ CGdiObject::Detach() {
  HGDIOBJ handle = m_hObject;
  if (Wrappers* table = Table(); handle && table) {
    auto it = table->owners.find(handle);
    if (it != table->owners.end() && it->second == this) table->owners.erase(it);
  }
  m_hObject = nullptr;
  return handle;
}

BOOL CGdiObject::DeleteObject() {
  // A temporary object does not own its handle: it only forgets it.
  if (!m_hObject || m_temporary) {
    m_hObject = nullptr;
    return FALSE;
  }
  return ::DeleteObject(Detach());
}

BOOL CGdiObject::CreateStockObject(int index) { return Attach(GetStockObject(index)); }

CPen::CPen(int style, int width, COLORREF color) { CreatePen(style, width, color); }

BOOL CPen::CreatePen(int style, int width, COLORREF color) {
  if (m_hObject) return FALSE;
  return Attach(::CreatePen(style, width, color));
}

CBrush::CBrush(COLORREF color) { CreateSolidBrush(color); }

BOOL CBrush::CreateSolidBrush(COLORREF color) {
  if (m_hObject) return FALSE;
  return Attach(::CreateSolidBrush(color));
}

BOOL CFont::CreateFontIndirect(const LOGFONTW* font) {
  if (m_hObject) return FALSE;
  return Attach(::CreateFontIndirectW(font));
}

BOOL CFont::CreatePointFont(int point_size, LPCWSTR face, CDC*) {
  LOGFONTW font;
  // Tenths of a point at 96 pixels per inch, rounded: the character height, hence negative.
  font.lfHeight = -((point_size * 96 + 360) / 720);
  if (face) std::wcsncpy(font.lfFaceName, face, LF_FACESIZE - 1);
  return CreateFontIndirect(&font);
}
