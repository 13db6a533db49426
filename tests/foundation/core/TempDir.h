#pragma once
// A fresh directory under the system's temporary directory, removed with everything in it when
// the test ends.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "ostrum/foundation/core/CharacterSetConversions.h"

class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ostrum-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "mkdtemp failed";
    m_path = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::permissions(m_path, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(m_path, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& Path() const { return m_path; }
  /// The directory as wide text with its trailing separator.
  std::wstring Wide() const { return CharacterSetConversions::FromUTF8(m_path.string()) + L"/"; }
  /// A name inside the directory, as wide text.
  std::wstring File(const std::wstring& name) const { return Wide() + name; }

 private:
  std::filesystem::path m_path;
};
