#pragma once
// Export macros of libOstrumFramework. The library builds with hidden visibility, so the
// public surface is exactly what carries OSTRUM_API.

#define OSTRUM_API __attribute__((visibility("default")))
#define OSTRUM_LOCAL __attribute__((visibility("hidden")))
