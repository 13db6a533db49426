#pragma once
// OSTRUM_STATIC_TLS: puts a thread-local variable of the library in the static TLS block.
//
// The library is loaded with the program that links it, so its few thread-local variables fit
// in the static block, where a thread reaches them with one load instead of a call to the
// dynamic linker. The model's per-thread state (queue, slots, last error) is read on every
// message and on every deferred task, which makes the difference measurable.

#define OSTRUM_STATIC_TLS __attribute__((tls_model("initial-exec")))
