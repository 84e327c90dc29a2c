// Whether the signals of this program reach only processes that it started itself.

#ifndef HARNESS_CONTAINMENT_H
#define HARNESS_CONTAINMENT_H

// Returns true if this process runs inside tests/support/contained.
bool IsContained();

#endif
