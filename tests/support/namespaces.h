// Linux namespaces that keep a process apart from the rest of the machine.
#ifndef TESTS_SUPPORT_NAMESPACES_H_
#define TESTS_SUPPORT_NAMESPACES_H_

namespace support {

// Moves the process into new namespaces of the given kinds (CLONE_NEW*), with
// a user namespace around them where that takes no root. Call it before there
// are threads. False when the machine gives none.
bool EnterNamespaces(int kinds);

// Covers /tmp by an empty one, in which only this checkout and its build may
// still be seen, should they stand there. Wants a mount namespace of the
// process's own.
bool MountOwnTmp();

}  // namespace support

#endif  // TESTS_SUPPORT_NAMESPACES_H_
