#include "ostrum/coordinates/ITransformRepositoryNotifyDelete.h"

ITransformRepositoryNotifyDelete::~ITransformRepositoryNotifyDelete() = default;
