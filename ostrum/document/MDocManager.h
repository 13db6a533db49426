#pragma once
// MDocManager: the application's document manager. It makes the document types of its templates
// known to the desktop: in the registry (file type, icon, open and print commands, the
// extension), and the way Linux desktops learn them, as a shared-mime-info package and a
// desktop entry in a data directory the host names.

#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CDocManager.h"

class OSTRUM_API MDocManager : public CDocManager {
 public:
  /// Writes the registry keys of every template: under HKEY_CLASSES_ROOT, or the user's
  /// "Software\Classes" where that is refused. With `compatible` also the print commands and the
  /// new-file entry; without, those are taken away.
  void RegisterShellFileTypes(BOOL compatible) override;

  /// Writes `<data_directory>/mime/packages/<application_id>.xml` (one MIME type per template
  /// with a file type id and an extension: "application/x-<type id in lower case>", its name as
  /// the comment, "*<extension>" as the glob) and `<data_directory>/applications/
  /// <application_id>.desktop` (the program started with the file, for those types). `name` is
  /// the application's name shown by the desktop; `exec` the command line before the file (the
  /// program's path when empty). Each file is written whole or not at all. False if either
  /// could not be written, or no template has a file type.
  bool PublishFileTypes(const std::wstring& data_directory, const std::wstring& application_id,
                        const std::wstring& name, const std::wstring& exec = std::wstring()) const;
};
