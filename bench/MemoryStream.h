#pragma once

#include <sys/types.h>

namespace bench {

/// A process that copies memory back and forth on the other cores during its lifetime, as a busy machine does.
class MemoryStream {
public:
    /// \throw std::runtime_error the process cannot be started
    MemoryStream();
    MemoryStream(const MemoryStream&) = delete;
    MemoryStream& operator=(const MemoryStream&) = delete;
    ~MemoryStream();

private:
    pid_t process_;
};

} // namespace bench
