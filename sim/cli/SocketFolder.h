// SPDX-License-Identifier: Apache-2.0
// The folder with the sockets through which programs reach a simulator.
#pragma once

#include "sim/loop/Descriptor.h"

#include <string>

namespace Sim
{

inline constexpr const char* kDeviceSocket = "/ipmi0";
inline constexpr const char* kControlSocket = "/control";

/// Made for one program, in the folder for temporary files, for this user only; removed at the end.
class TemporaryFolder
{
public:
    /// Throws UserMistake.
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// Where a user's simulator is found: $XDG_RUNTIME_DIR/trx-bmcsim, else /tmp/trx-bmcsim-UID. Throws UserMistake:
/// somebody else was there first.
std::string usualFolder();

/// A folder at a known place, held by one living simulator at a time. Removed at the end when it is empty.
class ServingFolder
{
public:
    /// Makes it when it is not there, and removes the sockets of a dead simulator. Throws UserMistake: another one
    /// serves there, or others than this user can write there.
    explicit ServingFolder(std::string path);
    ~ServingFolder();
    ServingFolder(const ServingFolder&) = delete;
    ServingFolder& operator=(const ServingFolder&) = delete;

    const std::string& path() const { return path_; }

private:
    void hold();
    void removeSocket(const char* name) const;

    std::string path_;
    Descriptor held_; ///< locked: the lock goes with its process, however that ends
};

} // namespace Sim
