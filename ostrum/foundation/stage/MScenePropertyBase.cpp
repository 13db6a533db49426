#include "ostrum/foundation/stage/MScenePropertyBase.h"

// Constant-initialised: a static object of the host may ask before anything is made.
constinit MSceneManager* MScenePropertyBase::mgp_scene_manager = nullptr;
