#include "cli/Session.h"

#include "base/Errors.h"
#include "cli/Console.h"
#include "io/Files.h"

#include <algorithm>
#include <stdexcept>

namespace vexa::tool {

Session::Session(Console& console)
    : warn_([&console](const std::string& text) { console.printWarning(text); }),
      fail_([&console](const std::string& text) { console.printError(text); }) {}

Document Session::load(const std::filesystem::path& file, MeshCheck check) const {
    Document document = loadDocument(file, check);
    for (const std::string& warning : document.asset.warnings) {
        warn(file, warning);
    }
    for (const std::string& text : document.asset.leftOut) {
        noteLoss(file, text);
    }
    return document;
}

int Session::forEachFile(const std::vector<std::string>& files, Json& report,
                         const std::function<int(const std::string&)>& work) const {
    int code = EXIT_DONE;
    for (const std::string& file : files) {
        try {
            code = std::max(code, work(file));
        } catch (const FileError& error) {
            fail_(error.what());
            report.push_back({{"file", file}, {"error", error.what()}});
            code = EXIT_BAD_FILE;
        } catch (const CheckError& error) {
            fail_(error.what());
            report.push_back({{"file", file}, {"error", error.what()}});
            code = std::max<int>(code, EXIT_CHECK_FAILED);
        }
    }
    return code;
}

void Session::write(const std::filesystem::path& output, const Bytes& content, const FindFault& findFault) const {
    std::string fault;
    try {
        fault = findFault(content);
    } catch (const FileError& error) {
        fault = std::string("it could not be read back: ") + error.what();
    } catch (const std::out_of_range&) {
        fault = "it would lack some meshes";
    }
    if (!fault.empty()) {
        throw CheckError(output.string() + ": not written, because " + fault);
    }
    writeFile(output, content);
}

void Session::write(const std::filesystem::path& output, const Bytes& page) const {
    writeFile(output, page);
}

bool Session::noteLoss(const std::filesystem::path& file, const std::string& text) const {
    std::string byFile = file.string() + ": " + text;
    if (!losses_.insert(byFile).second) {
        return false;
    }
    leftOut_.push_back(text);
    leftOutByFile_.push_back(std::move(byFile));
    return true;
}

void Session::leaveOut(const std::filesystem::path& file, const std::vector<std::string>& leftOut) const {
    checkLosses(file, leftOut);
    for (const std::string& text : leftOut) {
        if (noteLoss(file, text)) {
            warn(file, "left out: " + text);
        }
    }
}

void Session::warn(const std::filesystem::path& file, const std::string& text) const {
    warn_(file.string() + ": " + text);
}

} // namespace vexa::tool
