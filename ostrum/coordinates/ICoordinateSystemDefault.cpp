#include "ostrum/coordinates/ICoordinateSystemDefault.h"

ICoordinateSystemDefault::~ICoordinateSystemDefault() = default;
