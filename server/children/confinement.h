// What a child gives up before it sees the first photograph. From then on it computes and talks to its server, nothing
// else: it opens no file, reaches no network, starts no program and sees no other process.
#ifndef QX_SERVER_CHILDREN_CONFINEMENT_H
#define QX_SERVER_CHILDREN_CONFINEMENT_H

#include "server/children/message.h"

namespace qx::server {

// Closes whatever the process has inherited beyond its connection, and has the system end it with the server.
void CutLoose();

// Limits and the filter of system calls. Throws std::system_error where the system refuses: a child that is not
// confined must not serve. Builds with sanitizers, which take terabytes of addresses and look into themselves at the
// end, leave out the limit of addresses, the filter and what bars others from looking in.
void Confine(const ChildLimits& limits);

// From here on the process is killed at any system call that computing on photographs does not need. Without libseccomp
// this does nothing; the build says so.
void AllowOnlyNeededCalls();
// Whether this program was built with libseccomp.
bool CanFilterCalls();

}  // namespace qx::server

#endif  // QX_SERVER_CHILDREN_CONFINEMENT_H
