#include "ostrum/coordinates/ICoordinateSystem.h"

ICoordinateSystem::~ICoordinateSystem() = default;
