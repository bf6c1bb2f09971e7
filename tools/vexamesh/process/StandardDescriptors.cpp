#include "process/StandardDescriptors.h"

#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

namespace vexa::tool {

void reserveStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) < 0) {
            // The lowest free number is this one. Opened the wrong way round, it fails as a closed one does.
            ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

} // namespace vexa::tool
