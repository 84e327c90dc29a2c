// A user who is not root and has no processes but this test's. The system counts a user's
// processes over all namespaces, and tests run side by side.

#ifndef TESTS_SUPPORT_LIMITED_USER_H
#define TESTS_SUPPORT_LIMITED_USER_H

#include <sys/types.h>

// Returns the user's number, which no other PID namespace has.
uid_t LimitedUser();

// Returns true if this namespace has such a user.
bool HasLimitedUser();

// Makes this process one of the limited user's, and limits that user to `limit`
// processes and threads; ends it with exit code 126 if that fails. For a child of the
// test.
void BecomeLimitedUser(unsigned long limit);

#endif
