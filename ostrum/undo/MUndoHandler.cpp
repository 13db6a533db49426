#include "ostrum/undo/MUndoHandler.h"

// Constant-initialised, so a static object of the host that sets the directory while the
// program starts finds it already made.
constinit MFileName MUndoHandler::mg_temp_directory;

MFileName const& MUndoHandler::GetUndoTempDir() { return mg_temp_directory; }

void MUndoHandler::SetUndoTempDir(wchar_t const* path) { mg_temp_directory.SET(path, true); }
