#pragma once
// UIOperationImport and UIOperationExport: the data of reading a model from a file and of
// writing one; what they do is the host's (its objects' DoOperation, or its document's hooks).

#include <cstdint>
#include <string>

#include "ostrum/Export.h"
#include "ostrum/operations/MOperation.h"

class OSTRUM_API UIOperationImport : public MOperation {
 public:
  enum : uint32_t {
    ACTION_IMPORT = 60800,  ///< flags 0x370008: undoable, a change of the document
  };

  UIOperationImport();
  explicit UIOperationImport(uint32_t action);
  ~UIOperationImport() override;
  /// MOperation's action, then the flags of the import over them.
  void SetAction(uint32_t action) override;

  const std::wstring& GetFileName() const { return m_file_name; }
  void SetFileName(const wchar_t* name) { m_file_name = name ? name : L""; }
  bool GetFixNormals() const { return m_fix_normals; }
  void SetFixNormals(bool fix) { m_fix_normals = fix; }
  bool GetSplitSurfaces() const { return m_split_surfaces; }
  void SetSplitSurfaces(bool split) { m_split_surfaces = split; }
  /// Degrees between the normals of neighbouring faces beyond which a surface is split; 30.
  float GetSplitSurfaceAngle() const { return m_split_surface_angle; }
  void SetSplitSurfaceAngle(float angle) { m_split_surface_angle = angle; }
  bool GetSplitIntoLoadedFeature() const { return m_split_into_loaded_feature; }
  void SetSplitIntoLoadedFeature(bool split) { m_split_into_loaded_feature = split; }

 protected:
  const wchar_t* _GetActionString() override;

 private:
  std::wstring m_file_name;
  bool m_fix_normals = false;
  bool m_split_surfaces = false;
  float m_split_surface_angle = 30.0f;
  bool m_split_into_loaded_feature = false;
};

class OSTRUM_API UIOperationExport : public MOperation {
 public:
  enum : uint32_t {
    ACTION_EXPORT = 76000,  ///< flags 0x50000: prepared and done, nothing else
  };

  UIOperationExport();
  explicit UIOperationExport(uint32_t action);
  ~UIOperationExport() override;
  void SetAction(uint32_t action) override;

  const std::wstring& GetFileName() const { return m_file_name; }
  void SetFileName(const wchar_t* name) { m_file_name = name ? name : L""; }

 protected:
  const wchar_t* _GetActionString() override;

 private:
  std::wstring m_file_name;
};
