#include <mimalloc.h>

namespace {

/// Before the initialisers of all libraries: what they allocate makes mimalloc take memory.
void initialise()
{
    // Otherwise 32 MB are taken at a time, and count for --memory.
    mi_option_disable(mi_option_eager_commit);
}

[[gnu::section(".preinit_array"), gnu::used]] void (*const s_initialise)() = initialise;

} // namespace
