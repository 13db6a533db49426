#pragma once
// ISAXPersist: the handler of a markup element while reading, and its writer.

#include <cstdint>
#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/markup/ISAXReference.h"

class MSAXReader;
class MSAXWriter;

/// An object that reads itself from an element and writes itself as one. Every operation has a
/// default body, so an implementer overrides only what it needs. The order of the virtual
/// operations is part of the interface.
class OSTRUM_API ISAXPersist : public virtual ISAXReference {
 public:
  ~ISAXPersist() override;

  /// Called before reading starts: puts the object in the state that missing elements leave.
  /// Default: nothing.
  virtual void SetDefaults();
  /// Offered each child element `tag` of this object's element, with the reader positioned on
  /// it. Answers true when this object took the element. Default: false, the tag is not mine.
  virtual bool HandleTag(const std::wstring& tag, MSAXReader& reader);
  /// Told that the element `tag` has ended. Default: nothing.
  virtual void HandleEndTag(const std::wstring& tag);
  /// Called once the whole file is in, for objects that asked the reader for it, so reference
  /// numbers can be turned into objects. Default: nothing.
  virtual void ResolveReferences(MSAXReader& reader);
  /// Called when loading is complete. Default: nothing.
  virtual void InitAfterLoading();
  /// Writes the object's element with `writer`; false if writing failed. Default: true,
  /// writing nothing.
  virtual bool Write(MSAXWriter& writer) const;
  /// This object's identity part, the one the writer numbers. Default: the ISAXReference base.
  virtual ISAXReference* GetObjectReference();
  /// Told the format version of the file being read. Default: nothing.
  virtual void SetFileVersion(std::uint32_t version);
  /// Whether the object is to be written to files at all. Default: true.
  virtual bool IsPersistent() const;
  /// Sets what IsPersistent answers, for classes that keep it. Default: nothing.
  virtual void SetPersistent(bool persistent);
};
