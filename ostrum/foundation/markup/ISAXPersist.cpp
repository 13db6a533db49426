#include "ostrum/foundation/markup/ISAXPersist.h"

ISAXPersist::~ISAXPersist() = default;

void ISAXPersist::SetDefaults() {}

bool ISAXPersist::HandleTag(const std::wstring& /*tag*/, MSAXReader& /*reader*/) { return false; }

void ISAXPersist::HandleEndTag(const std::wstring& /*tag*/) {}

void ISAXPersist::ResolveReferences(MSAXReader& /*reader*/) {}

void ISAXPersist::InitAfterLoading() {}

bool ISAXPersist::Write(MSAXWriter& /*writer*/) const { return true; }

ISAXReference* ISAXPersist::GetObjectReference() { return this; }

void ISAXPersist::SetFileVersion(std::uint32_t /*version*/) {}

bool ISAXPersist::IsPersistent() const { return true; }

void ISAXPersist::SetPersistent(bool /*persistent*/) {}
