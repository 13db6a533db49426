#pragma once
// CDC and its kinds: the device contexts windows paint with. This is the part the 3D window
// needs (paint and client contexts, a point font, text colour, background mode and text in a
// rectangle); the contexts carry their window and settings, and draw no pixels yet.

#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/GdiObjects.h"
#include "ostrum/foundation/platform/Paint.h"
#include "ostrum/foundation/platform/WinTypes.h"

class CWnd;

constexpr int TRANSPARENT = 1;
constexpr int OPAQUE = 2;
constexpr UINT DT_LEFT = 0x0000;
constexpr UINT DT_CENTER = 0x0001;
constexpr UINT DT_RIGHT = 0x0002;
constexpr UINT DT_VCENTER = 0x0004;
constexpr UINT DT_SINGLELINE = 0x0020;

class CDC;

/// A font made from a point size and a face name.
class OSTRUM_API CFont {
 public:
  CFont() = default;
  CFont(const CFont&) = delete;
  CFont& operator=(const CFont&) = delete;
  virtual ~CFont();
  /// `point_size` in tenths of a point (100 is 10 points); TRUE.
  BOOL CreatePointFont(int point_size, LPCWSTR face_name, CDC* dc = nullptr);
  int GetPointSize() const { return m_point_size; }
  const std::wstring& GetFaceName() const { return m_face_name; }

 private:
  int m_point_size = 0;
  std::wstring m_face_name;
};

class OSTRUM_API CDC {
 public:
  CDC() = default;
  CDC(const CDC&) = delete;
  CDC& operator=(const CDC&) = delete;
  virtual ~CDC();

  HDC GetSafeHdc() const { return m_hDC; }
  /// A temporary context of the calling thread for `hdc`, valid until the next call.
  static CDC* FromHandle(HDC hdc);

  /// Selects `font` and answers the one selected before (null for the stock font).
  CFont* SelectObject(CFont* font);
  /// TRANSPARENT or OPAQUE; answers the mode before.
  int SetBkMode(int mode);
  int GetBkMode() const { return m_bk_mode; }
  /// Answers the colour before.
  COLORREF SetTextColor(COLORREF color);
  COLORREF GetTextColor() const { return m_text_color; }
  /// Text in `rect` with the DT_ `format`; answers the height of the text in pixels (0 for
  /// no text). Nothing reaches pixels yet.
  int DrawText(LPCWSTR text, int count, LPRECT rect, UINT format);
  int DrawText(const std::wstring& text, LPRECT rect, UINT format) {
    return DrawText(text.c_str(), static_cast<int>(text.size()), rect, format);
  }
  CFont* GetCurrentFont() const { return m_font; }

  HDC m_hDC = nullptr;

 protected:
  CFont* m_font = nullptr;
  int m_bk_mode = OPAQUE;
  COLORREF m_text_color = 0;
};

/// The context of a paint: BeginPaint at construction, EndPaint at destruction.
class OSTRUM_API CPaintDC : public CDC {
 public:
  explicit CPaintDC(CWnd* window);
  ~CPaintDC() override;
  PAINTSTRUCT m_ps;

 private:
  HWND m_hWnd = nullptr;
};

/// The context of a window's client area outside a paint.
class OSTRUM_API CClientDC : public CDC {
 public:
  explicit CClientDC(CWnd* window);
  ~CClientDC() override;

 private:
  HWND m_hWnd = nullptr;
};
