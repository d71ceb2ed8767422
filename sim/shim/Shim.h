// SPDX-License-Identifier: Apache-2.0
// The device shim: makes /dev/ipmi<N> of the program that it is in a simulated device.
//
// Preloaded, it connects to the sockets ipmi<N> in the folder that TRX_BMCSIM_DIR names. Linked into a test program, it
// connects through the hooks installed here. With neither, everything passes through to the kernel.
//
// The descriptor is a socket's: unlike the driver's it also polls writable, and read() and write() do not fail on it.
#pragma once

namespace Sim::Shim
{

/// What a test program puts behind the shim. Plain function pointers: the shim does without the C++ library.
struct Hooks {
    void* context = nullptr;
    /// The client end of a new connection to device `node`, or -errno (-ENOENT: no such device).
    int (*connect)(void* context, int node) = nullptr;
    /// After something was sent to device `node`: may serve it at once. May be null.
    void (*sent)(void* context, int node) = nullptr;
    /// Asked first at every open (request 0) and ioctl of a device: an errno to fail with, or 0. May be null.
    int (*fail)(void* context, int node, unsigned int request) = nullptr;
    /// What geteuid() and getuid() say: root, or nobody.
    bool root = true;
};

/// Installs hooks, which must live until others (or null) are installed. Not while other threads use the shim.
void install(const Hooks* hooks);

/// Opens and ioctls of devices that the shim has served: a test's proof that it was reached.
unsigned long served();

} // namespace Sim::Shim
