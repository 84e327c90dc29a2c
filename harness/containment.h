// Whether this program runs where its kills reach nothing but what it started itself.

#ifndef HARNESS_CONTAINMENT_H
#define HARNESS_CONTAINMENT_H

// Says whether this process runs inside tests/support/contained.
bool IsContained();

#endif
