// A name that one process of the user can hold at a time. The kernel takes it back when
// its holders have ended, however they end.
//
//   int const held = HoldName("agent");   // -1, EADDRINUSE while another one holds it

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

#endif
