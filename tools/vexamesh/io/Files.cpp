#include "io/Files.h"

#include "base/Errors.h"
#include "process/Interruption.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vexa::tool {

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t largestFile = 0xffffffff;

std::string errorText(int error) {
    return std::generic_category().message(error);
}

class Descriptor {
public:
    explicit Descriptor(int value) : value_(value) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (value_ >= 0) {
            ::close(value_);
        }
    }

    [[nodiscard]] int get() const { return value_; }

    /// Some file systems report a full disk only here.
    int close() {
        const int value = value_;
        value_ = -1;
        return ::close(value);
    }

private:
    int value_;
};

/// The file that a write to `path` creates or replaces, after resolving symbolic links, also dangling ones.
fs::path resolveLinks(fs::path path) {
    constexpr int longestChain = 40;
    std::error_code error;
    for (int i = 0; i < longestChain && fs::is_symlink(path, error); ++i) {
        const fs::path target = fs::read_symlink(path, error);
        path = target.is_absolute() ? target : path.parent_path() / target;
    }
    return path;
}

/// A file that takes another's name once it is complete. Otherwise it is removed, also when a signal ends the process.
class TemporaryFile {
public:
    TemporaryFile(const fs::path& target, const std::string& shownName)
        : name_(target.string() + ".XXXXXX"), descriptor_(create(name_)), shownName_(shownName) {
        if (descriptor_.get() < 0) {
            const int error = errno;
            name_.clear();
            fail("cannot be written", error);
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        const BlockedInterruption blocked;
        removeWhenInterrupted(nullptr);
        if (!name_.empty()) {
            ::unlink(name_.c_str());
        }
    }

    void write(const Bytes& content) {
        std::size_t done = 0;
        while (done < content.size()) {
            const ssize_t count = ::write(descriptor_.get(), content.data() + done, content.size() - done);
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count < 0) {
                fail("cannot be written", errno);
            }
            done += static_cast<std::size_t>(count);
        }
    }

    void renameTo(const fs::path& target) {
        struct stat before {};
        const bool replaces = ::stat(target.c_str(), &before) == 0;
        const mode_t mask = ::umask(0);
        ::umask(mask);
        // A temporary file is private to its owner; the file gets the permissions that it had, or the usual ones.
        const mode_t mode = replaces ? (before.st_mode & 07777) : (0666 & ~mask);
        // Without the first fsync a power loss may leave the new name with nothing in it, without the second the old name.
        if (::fchmod(descriptor_.get(), mode) != 0 || ::fsync(descriptor_.get()) != 0 || descriptor_.close() != 0 ||
            ::rename(name_.c_str(), target.c_str()) != 0) {
            fail("cannot be written", errno);
        }
        name_.clear();
        const Descriptor directory(::open((target.parent_path() / ".").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (directory.get() >= 0) {
            // Some file systems cannot do this; the file is complete in any case.
            ::fsync(directory.get());
        }
    }

private:
    /// \param name its six last letters are chosen
    static int create(std::string& name) {
        const BlockedInterruption blocked;
        const int descriptor = ::mkostemp(name.data(), O_CLOEXEC);
        if (descriptor >= 0) {
            removeWhenInterrupted(name.c_str());
        }
        return descriptor;
    }

    [[noreturn]] void fail(const std::string& what, int error) const {
        throw FileError(shownName_, what + ": " + errorText(error));
    }

    std::string name_;
    Descriptor descriptor_;
    std::string shownName_;
};

} // namespace

Bytes readFile(const fs::path& path) {
    // Not to block on a pipe that nobody writes to: it is refused below.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (file.get() < 0) {
        throw FileError(path.string(), "cannot be read: " + errorText(errno));
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        throw FileError(path.string(), "cannot be read: " + errorText(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        throw FileError(path.string(), S_ISDIR(status.st_mode) ? "is a directory" : "is not a regular file");
    }
    if (status.st_size > largestFile) {
        throw FileError(path.string(), "is larger than 4 GiB");
    }
    Bytes content(static_cast<std::size_t>(status.st_size));
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t count = ::read(file.get(), content.data() + done, content.size() - done);
        if (count < 0 && errno != EINTR) {
            throw FileError(path.string(), "cannot be read: " + errorText(errno));
        }
        if (count == 0) {
            break;
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    content.resize(done);
    return content;
}

bool hasExtension(const fs::path& file, const std::string& extension) {
    std::string found = file.extension().string();
    std::transform(found.begin(), found.end(), found.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); });
    return found == extension;
}

void checkOutputName(const fs::path& output, const std::string& extension, const fs::path& input) {
    if (!hasExtension(output, extension)) {
        throw UsageError("the output " + output.string() + " does not end in " + extension);
    }
    std::error_code error;
    if (fs::equivalent(output, input, error)) {
        throw UsageError("the output " + output.string() + " is the input");
    }
}

void writeFile(const fs::path& path, const Bytes& content) {
    const fs::path target = resolveLinks(path);
    std::error_code error;
    const fs::file_status status = fs::status(target, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        throw FileError(path.string(), fs::is_directory(status) ? "is a directory" : "is not a regular file");
    }
    TemporaryFile file(target, path.string());
    file.write(content);
    file.renameTo(target);
}

} // namespace vexa::tool
