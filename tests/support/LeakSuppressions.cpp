// What LeakSanitizer leaves out in the test programs: only memory that a system library keeps
// for the life of the process and that no call of ours can give back. Read by the sanitizer's
// runtime at start; in a build without it the function is simply never called.

extern "C" const char* __lsan_default_suppressions();  // NOLINT: the runtime's name

extern "C" const char* __lsan_default_suppressions() {
  // fontconfig's font patterns, made when cairo's toy font faces (the desktop model's text)
  // look a face up, and held by cairo's font cache until the process ends.
  return "leak:libfontconfig.so\n";
}
