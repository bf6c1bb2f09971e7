#include "io/Files.h"

#include "base/Errors.h"
#include "process/Interruption.h"
#include "process/MemoryClaims.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vexa::tool {

namespace fs = std::filesystem;

namespace {

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

/// The file that a write to `link` creates or replaces, after resolving symbolic links, also dangling ones.
///
/// \throw FileError the links form a loop
fs::path resolveLinks(const fs::path& link) {
    constexpr int longestChain = 40;
    fs::path path = link;
    std::error_code error;
    for (int i = 0; fs::is_symlink(path, error); ++i) {
        if (i == longestChain) {
            throw FileError(link.string(), "cannot be written: its symbolic links form a loop");
        }
        const fs::path target = fs::read_symlink(path, error);
        path = target.is_absolute() ? target : path.parent_path() / target;
    }
    return path;
}

/// A file that takes another's name once it is complete. Otherwise it is removed, also when a signal ends the process.
class TemporaryFile {
public:
    /// \param place as for `removeWhenInterrupted`
    explicit TemporaryFile(const fs::path& path, std::size_t place = 0)
        : target_(targetOf(path)), name_(target_.string() + ".XXXXXX"), place_(place),
          descriptor_(create(name_, place)), shownName_(path.string()) {
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
        removeWhenInterrupted(nullptr, place_);
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

    /// Makes sure that all of it is stored.
    void complete() {
        struct stat before {};
        const bool replaces = ::stat(target_.c_str(), &before) == 0;
        const mode_t mask = ::umask(0);
        ::umask(mask);
        // A temporary file is private to its owner; the file gets the permissions that it had, or the usual ones.
        const mode_t mode = replaces ? (before.st_mode & 07777) : (0666 & ~mask);
        // Without the first fsync a power loss may leave the new name with nothing in it, without the second the old name.
        if (::fchmod(descriptor_.get(), mode) != 0 || ::fsync(descriptor_.get()) != 0 || descriptor_.close() != 0) {
            fail("cannot be written", errno);
        }
    }

    /// Takes the other's name; after `complete`.
    void rename() {
        if (::rename(name_.c_str(), target_.c_str()) != 0) {
            fail("cannot be written", errno);
        }
        name_.clear();
        const Descriptor directory(::open((target_.parent_path() / ".").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (directory.get() >= 0) {
            // Some file systems cannot do this; the file is complete in any case.
            ::fsync(directory.get());
        }
    }

private:
    static fs::path targetOf(const fs::path& path) {
        fs::path target = resolveLinks(path);
        std::error_code error;
        const fs::file_status status = fs::status(target, error);
        if (fs::exists(status) && !fs::is_regular_file(status)) {
            throw FileError(path.string(), fs::is_directory(status) ? "is a directory" : "is not a regular file");
        }
        return target;
    }

    /// \param name its six last letters are chosen
    static int create(std::string& name, std::size_t place) {
        const BlockedInterruption blocked;
        const int descriptor = ::mkostemp(name.data(), O_CLOEXEC);
        if (descriptor >= 0) {
            removeWhenInterrupted(name.c_str(), place);
        }
        return descriptor;
    }

    [[noreturn]] void fail(const std::string& what, int error) const {
        throw FileError(shownName_, what + ": " + errorText(error));
    }

    fs::path target_;
    std::string name_;
    std::size_t place_;
    Descriptor descriptor_;
    std::string shownName_;
};

/// Reads until the content is full or the input ends.
///
/// \param begin where to go on in the content
/// \return the end of what was read
std::size_t readInto(Bytes& content, std::size_t begin, int descriptor, const std::string& name) {
    while (begin < content.size()) {
        const ssize_t count = ::read(descriptor, content.data() + begin, content.size() - begin);
        if (count < 0 && errno != EINTR) {
            throw FileError(name, "cannot be read: " + errorText(errno));
        }
        if (count == 0) {
            break;
        }
        begin += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return begin;
}

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
    try {
        const MemoryClaim claim(static_cast<std::uint64_t>(status.st_size), "reading it");
        Bytes content(static_cast<std::size_t>(status.st_size));
        content.resize(readInto(content, 0, file.get(), path.string()));
        return content;
    } catch (const FormatError& error) {
        throw FileError(path.string(), error.what());
    }
}

Bytes readStandardInput() {
    constexpr std::size_t firstSize = 1 << 16;
    const char* const name = "standard input";
    Bytes content(firstSize);
    for (std::size_t done = 0;;) {
        done = readInto(content, done, STDIN_FILENO, name);
        if (done < content.size()) {
            content.resize(done);
            return content;
        }
        if (done > static_cast<std::size_t>(largestFile)) {
            throw FileError(name, "holds more than 4 GiB");
        }
        content.resize(2 * done);
    }
}

bool hasExtension(const fs::path& file, const std::string& extension) {
    std::string found = file.extension().string();
    std::transform(found.begin(), found.end(), found.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); });
    return found == extension;
}

void checkOutputName(const fs::path& output, const std::vector<std::string>& extensions, const fs::path& input) {
    if (std::none_of(extensions.begin(), extensions.end(),
                     [&](const std::string& extension) { return hasExtension(output, extension); })) {
        std::string names = extensions.front();
        for (std::size_t i = 1; i < extensions.size(); ++i) {
            names += " or " + extensions[i];
        }
        throw UsageError("the output " + output.string() + " does not end in " + names);
    }
    std::error_code error;
    if (fs::equivalent(output, input, error)) {
        throw UsageError("the output " + output.string() + " is the input");
    }
}

void writeFile(const fs::path& path, const Bytes& content) {
    TemporaryFile file(path);
    file.write(content);
    file.complete();
    file.rename();
}

void writeFiles(const fs::path& path, const Bytes& content, const fs::path& otherPath, const Bytes& otherContent) {
    TemporaryFile file(path);
    TemporaryFile other(otherPath, 1);
    file.write(content);
    other.write(otherContent);
    file.complete();
    other.complete();
    // Not to end with one of them.
    const BlockedInterruption blocked;
    other.rename();
    file.rename();
}

} // namespace vexa::tool
