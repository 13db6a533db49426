#include "ostrum/objects/private/SubjectCast.h"

thread_local Ostrum::Private::SubjectCast::Entry Ostrum::Private::SubjectCast::tl_cache[Ostrum::Private::SubjectCast::kSize];
