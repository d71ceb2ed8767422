// A private folder with the socket through which preloaded programs reach /dev/ipmi0.
#pragma once

#include <string>

namespace Sim
{

/// Made in the folder for temporary files, for this user only; removed at the end.
class SocketFolder
{
public:
    /// Throws Failure.
    SocketFolder();
    ~SocketFolder();
    SocketFolder(const SocketFolder&) = delete;
    SocketFolder& operator=(const SocketFolder&) = delete;

    const std::string& path() const { return path_; }
    /// Listens; close-on-exec, does not block.
    int listener() const { return listener_; }

private:
    void listenAt(const std::string& socketPath);
    void remove();

    std::string path_;
    int listener_ = -1;
};

} // namespace Sim
