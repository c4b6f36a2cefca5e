// Takes rights away from the processes that clients connect to, so that a
// client that takes over its relay gains little. See SECURITY.md.
#ifndef IPAV_IPAVD_TRANSPORT_CONFINEMENT_H_
#define IPAV_IPAVD_TRANSPORT_CONFINEMENT_H_

namespace ipav::transport {

// For the acceptor and the relays that it makes: the user "nobody" instead of
// root, no new privileges, no core file, few file descriptors. Logs what it
// cannot do. Clears the signal of prctl(PR_SET_PDEATHSIG).
void DropPrivileges();

// For a relay, before it reads anything from its client: from here on the
// process can only use the files that it has open, and memory. It cannot open a
// file, connect, start a process, or reach another one; such system calls fail
// with EPERM. Logs a failure.
void AllowOnlyRelaying();

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_CONFINEMENT_H_
