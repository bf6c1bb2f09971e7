#pragma once

#include "io/Document.h"
#include "support/ToolProcess.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tool_test {

/// Tests that write a file, and read it or run the program on it.
class ImportedFile : public testing::Test {
public:
    std::string write(const std::string& name, const std::string& content) const;

    [[nodiscard]] vexa::tool::Document load(const std::string& name, const std::string& content) const;

    /// Data of the file that its document leaves out.
    [[nodiscard]] std::vector<std::string> leftOut(const std::string& name, const std::string& content) const;

    /// Expects that `strip` ends with exit code 3 and one line that names the file and holds `what`, writing nothing.
    void expectRefused(const std::string& name, const std::string& content, const std::string& what) const;

    TemporaryDirectory directory;
    std::string out = (directory / "out.glb").string();
};

/// The values of an attribute of the first mesh; none if it has no such attribute.
std::vector<double> valuesOf(const vexa::tool::Document& document, const std::string& name, std::size_t primitive = 0);

/// The indices of a primitive of the first mesh.
std::vector<unsigned int> indicesOf(const vexa::tool::Document& document, std::size_t primitive = 0);

/// A picture of the PNG format, as far as its first bytes are concerned.
extern const std::string pngBegin;

} // namespace tool_test
