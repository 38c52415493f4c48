#pragma once

namespace ostrel::networkWall {

// From now on this process, its threads and every program that it starts can make no sockets but local ones (unix(7))
// and those that ask the kernel about itself (netlink(7)), which the web engine's sandbox does; and no rings of
// io_uring(7), which make sockets unseen. The kernel refuses the others as if it did not know the protocols
// (EAFNOSUPPORT). That cannot be undone. Call it first in main: what is open already stays so. Returns false where the
// system has no such filters (seccomp(2)).
bool raise();

}   // namespace ostrel::networkWall
