#include "platform/Memory.h"

#include <malloc.h>

namespace ostrel::memory {

void returnUnused() { ::malloc_trim(0); }

}   // namespace ostrel::memory
