#pragma once
// Resets that parts of the model register for Testing::ResetModel, so that a new table (menus,
// device contexts, the registry) joins the reset by adding its own file.

namespace Ostrum::Desktop::Private {

/// Adds a function that ResetModel calls, in order of registration, after its own work.
/// Register from a static object's constructor; it stays for the life of the process.
bool AddResetHook(void (*reset)());

}  // namespace Ostrum::Desktop::Private
