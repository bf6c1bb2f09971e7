#include "Models.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <numbers>
#include <random>
#include <stdexcept>

namespace bench {

namespace {

/// Reads numbers from text, skipping comments.
class NumberReader {
public:
    NumberReader(const std::string& text, std::size_t start)
        : position_(text.data() + start), end_(text.data() + text.size()) {}

    template <typename T>
    T next() {
        skipBlanks();
        T value{};
        const auto [after, error] = std::from_chars(position_, end_, value);
        if (error != std::errc{}) {
            throw std::runtime_error("a number is missing or malformed");
        }
        position_ = after;
        return value;
    }

    void skipLine() { position_ = std::find(position_, end_, '\n'); }

private:
    static bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

    void skipBlanks() {
        while (position_ != end_ && (isBlank(*position_) || *position_ == '#')) {
            if (*position_ == '#') {
                skipLine();
            } else {
                ++position_;
            }
        }
    }

    const char* position_;
    const char* end_;
};

void readFace(NumberReader& reader, std::vector<unsigned int>& triangles, std::size_t vertexCount) {
    const auto corners = reader.next<unsigned int>();
    std::vector<unsigned int> face(corners);
    for (unsigned int& corner : face) {
        corner = reader.next<unsigned int>();
        if (corner >= vertexCount) {
            throw std::runtime_error("a face refers to vertex " + std::to_string(corner) + " of " +
                                     std::to_string(vertexCount));
        }
    }
    for (std::size_t i = 2; i < face.size(); ++i) {
        triangles.insert(triangles.end(), {face[0], face[i - 1], face[i]});
    }
    reader.skipLine(); // colours may follow
}

void parseOff(const std::string& text, Model& model) {
    if (!text.starts_with("OFF")) {
        throw std::runtime_error("not an OFF file");
    }
    NumberReader reader(text, 3);
    const auto vertexCount = reader.next<std::size_t>();
    const auto faceCount = reader.next<std::size_t>();
    reader.next<std::size_t>(); // edges; often left at 0
    model.positions.resize(3 * vertexCount);
    std::generate(model.positions.begin(), model.positions.end(), [&reader] { return reader.next<float>(); });
    model.triangles.reserve(3 * faceCount);
    for (std::size_t i = 0; i < faceCount; ++i) {
        readFace(reader, model.triangles, vertexCount);
    }
}

} // namespace

ModelPtr loadOff(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    const auto model = std::make_shared<Model>();
    model->name = file.stem().string();
    model->real = true;
    try {
        parseOff(text, *model);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(file.string() + ": " + error.what());
    }
    return model;
}

std::vector<ModelPtr> loadModels(const std::filesystem::path& directory) {
    std::vector<ModelPtr> models;
    if (std::filesystem::is_directory(directory)) {
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            if (entry.path().extension() == ".off") {
                models.push_back(loadOff(entry.path()));
            }
        }
    }
    if (models.empty()) {
        throw std::runtime_error("no models in " + directory.string() + "; run bench/models/fetch.sh " +
                                 directory.string() + " first");
    }
    std::sort(models.begin(), models.end(), [](const ModelPtr& a, const ModelPtr& b) {
        return a->triangles.size() != b->triangles.size() ? a->triangles.size() > b->triangles.size()
                                                          : a->name < b->name;
    });
    return models;
}

namespace {

template <class IsTurned>
ModelPtr makeQuads(const std::string& name, unsigned int side, IsTurned isTurned) {
    const auto model = std::make_shared<Model>();
    model->name = name;
    for (unsigned int y = 0; y <= side; ++y) {
        for (unsigned int x = 0; x <= side; ++x) {
            model->positions.insert(model->positions.end(), {static_cast<float>(x), static_cast<float>(y), 0.0F});
        }
    }
    const unsigned int row = side + 1;
    for (unsigned int y = 0; y < side; ++y) {
        for (unsigned int x = 0; x < side; ++x) {
            const unsigned int v = y * row + x;
            if (isTurned()) {
                model->triangles.insert(model->triangles.end(), {v, v + 1, v + row + 1, v, v + row + 1, v + row});
            } else {
                model->triangles.insert(model->triangles.end(), {v, v + 1, v + row, v + 1, v + row + 1, v + row});
            }
        }
    }
    return model;
}

} // namespace

ModelPtr makeGrid(const std::string& name, unsigned int side) {
    return makeQuads(name, side, [] { return false; });
}

ModelPtr makeIrregularGrid(const std::string& name, unsigned int side) {
    std::mt19937_64 random(1); // the same mesh in every run
    return makeQuads(name, side, [&random] { return random() % 2 != 0; });
}

ModelPtr makeSphere(const std::string& name, unsigned int slices, unsigned int stacks) {
    const auto model = std::make_shared<Model>();
    model->name = name;
    const auto addVertex = [&model](double polar, double azimuth) {
        model->positions.insert(model->positions.end(), {static_cast<float>(std::sin(polar) * std::cos(azimuth)),
                                                         static_cast<float>(std::sin(polar) * std::sin(azimuth)),
                                                         static_cast<float>(std::cos(polar))});
    };
    addVertex(0, 0);
    for (unsigned int ring = 1; ring < stacks; ++ring) {
        for (unsigned int slice = 0; slice < slices; ++slice) {
            addVertex(std::numbers::pi * ring / stacks, 2 * std::numbers::pi * slice / slices);
        }
    }
    addVertex(std::numbers::pi, 0);
    const unsigned int lastPole = (stacks - 1) * slices + 1;
    std::vector<unsigned int>& triangles = model->triangles;
    for (unsigned int ring = 0; ring < stacks; ++ring) {
        for (unsigned int slice = 0; slice < slices; ++slice) {
            const unsigned int right = (slice + 1) % slices;
            // First vertices of the rings above and below; a pole is a ring of one vertex.
            const unsigned int above = ring == 0 ? 0 : (ring - 1) * slices + 1;
            const unsigned int below = ring * slices + 1;
            if (ring + 1 < stacks) {
                triangles.insert(triangles.end(), {ring == 0 ? 0 : above + slice, below + slice, below + right});
            }
            if (ring > 0) {
                triangles.insert(triangles.end(),
                                 {above + slice, ring + 1 < stacks ? below + right : lastPole, above + right});
            }
        }
    }
    return model;
}

ModelPtr makeHub(const std::string& name, unsigned int count) {
    const auto model = std::make_shared<Model>();
    model->name = name;
    model->positions.assign({0.0F, 0.0F, 0.0F});
    for (unsigned int i = 0; i < count; ++i) {
        const double angle = 2 * std::numbers::pi * i / count;
        model->positions.insert(model->positions.end(),
                                {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)), 0.0F});
        model->triangles.insert(model->triangles.end(), {0, i + 1, (i + 1) % count + 1});
    }
    return model;
}

ModelPtr makeTwoHubs(const std::string& name, unsigned int count) {
    const auto model = std::make_shared<Model>();
    model->name = name;
    for (unsigned int rim = 2; rim < 2 + count / 2; ++rim) {
        model->triangles.insert(model->triangles.end(), {0, rim, rim + 1, 1, rim + 1, rim});
    }
    model->positions.resize(3 * (std::size_t{count} / 2 + 3));
    return model;
}

ModelPtr makeCrowdedEdge(const std::string& name, unsigned int count) {
    const auto model = std::make_shared<Model>();
    model->name = name;
    const unsigned int each = count / 3;
    for (unsigned int i = 0; i < each; ++i) {
        const unsigned int rim = 2 + 2 * i;
        model->triangles.insert(model->triangles.end(), {0, rim, rim + 2, 1, rim + 1, rim + 3});
    }
    for (unsigned int i = 0; i < each; ++i) {
        model->triangles.insert(model->triangles.end(), {0, 1, 2 * each + 4 + i});
    }
    model->positions.resize(3 * (std::size_t{3} * each + 4));
    return model;
}

ModelPtr makeCollapsedEdge(const std::string& name, unsigned int count) {
    const auto model = std::make_shared<Model>();
    model->name = name;
    for (unsigned int i = 0; i < count / 2; ++i) {
        model->triangles.insert(model->triangles.end(), {0, 0, 1});
    }
    for (unsigned int i = 0; i < count / 2; ++i) {
        model->triangles.insert(model->triangles.end(), {0, 1, 2 + i});
    }
    model->positions.resize(3 * (std::size_t{count} / 2 + 2));
    return model;
}

ModelPtr makeSoup(const std::string& name, unsigned int count) {
    const auto model = std::make_shared<Model>();
    model->name = name;
    for (unsigned int i = 0; i < count; ++i) {
        const auto x = static_cast<float>(i);
        model->positions.insert(model->positions.end(), {x, 0.0F, 0.0F, x + 0.5F, 0.0F, 0.0F, x, 0.5F, 0.0F});
        model->triangles.insert(model->triangles.end(), {3 * i, 3 * i + 1, 3 * i + 2});
    }
    return model;
}

std::vector<glm::vec3> looseCorners(const Model& model) {
    std::vector<glm::vec3> corners;
    corners.reserve(model.triangles.size());
    for (const unsigned int vertex : model.triangles) {
        const float* const p = &model.positions[3 * std::size_t{vertex}];
        corners.emplace_back(p[0], p[1], p[2]);
    }
    return corners;
}

ModelPtr makeShuffled(const std::string& name, const Model& model) {
    const auto shuffled = std::make_shared<Model>(model);
    shuffled->name = name;
    shuffled->real = false;
    std::mt19937_64 random(1); // the same order in every run
    for (std::size_t i = model.triangleCount(); i > 1; --i) {
        const std::size_t j = random() % i;
        std::swap_ranges(shuffled->triangles.begin() + static_cast<std::ptrdiff_t>(3 * (i - 1)),
                         shuffled->triangles.begin() + static_cast<std::ptrdiff_t>(3 * i),
                         shuffled->triangles.begin() + static_cast<std::ptrdiff_t>(3 * j));
    }
    return shuffled;
}

} // namespace bench
