#include "ostrum/objects/private/ObjectLinks.h"

namespace Ostrum::Private {

// Constant-initialised: empty until the modules above fill it while the library loads.
constinit ObjectLinks g_object_links;

}  // namespace Ostrum::Private
