// Fails one allocation of the code under test, for targets that check how out of memory is reported. The
// linker puts it between the library and the system (--wrap); what the library logs is dropped on the same
// way.
#pragma once

namespace FuzzHeap {

// The n-th allocation from here on fails; 0 is none. One above 64 MiB always does.
void Arm(unsigned long failing);

// True if one failed.
bool Disarm();

} // namespace FuzzHeap
