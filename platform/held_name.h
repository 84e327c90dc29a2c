// A name that one process of the user can hold at a time. The kernel takes it back when
// its holders have ended, however they end.
//
//   int const held = HoldName("agent");   // -1, EADDRINUSE while another one holds it
//   if (fork() == 0) {
//       HoldNameForLife("agent");
//       execv(...);                       // closes its copy of `held`
//   }

#ifndef PLATFORM_HELD_NAME_H
#define PLATFORM_HELD_NAME_H

// Takes the name for this process and for the children that it forks from now on. Returns
// a file descriptor, which is closed on execv; the name is free again when every copy of
// it is closed. Returns -1, and errno says why, if the name was not taken; EADDRINUSE if
// another process holds it.
//
// On Linux the name holds within a network namespace and a PID namespace. Any user there
// can hold the name and so make others wait, but nobody can take it away. Names are cut
// after 64 characters.
int HoldName(char const* name) noexcept;

// Lets this process alone hold the name until it ends, through execv, and without a
// descriptor. HoldName does not see that: whoever has taken the name asks
// IsNameHeldForLife next. Does nothing on macOS, and if the system refuses it.
//
// On Linux the name is then that of an IPC namespace too, and the system keeps a
// semaphore for it until ForgetName.
void HoldNameForLife(char const* name) noexcept;

// Returns true while a process of this user holds the name for life.
bool IsNameHeldForLife(char const* name) noexcept;

// Gives back what the system keeps for a name that was held for life.
void ForgetName(char const* name) noexcept;

#endif
