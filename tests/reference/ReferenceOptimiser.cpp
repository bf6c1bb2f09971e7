#include "reference/ReferenceGraph.h"

#include <algorithm>
#include <cstdlib>

namespace reference {

namespace {

void appendAndEmpty(Indices& target, Indices& source) {
    target.insert(target.end(), source.begin(), source.end());
    source.clear();
}

void remove(Indices& list, std::uint32_t triangle) {
    const std::uint32_t* found = std::find(list.data(), list.data() + list.size(), triangle);
    list.erase(list.begin() + (found - list.data()));
}

/// One call of calcOptPrim.
class Optimiser {
public:
    Optimiser(Graph& graph, const Parameters& parameters) : graph_(graph), parameters_(parameters) {}

    std::uint32_t run();

private:
    void freeTheClaimed();
    void buildFans();
    Indices closedRing(std::uint32_t centre) const;
    void claimForFan(std::uint32_t triangle);
    void sortIntoBuckets();
    void runAttempts();
    void buildStrips();
    int lowestFullBucket() const;
    std::uint32_t pickStart(const Indices& bucket) const;
    bool leadsToFree(std::uint32_t halfEdge) const;
    std::uint32_t firstLeavingEdge(std::uint32_t start) const;
    void buildStrip(std::uint32_t start);
    void store(const Indices& strip, std::uint32_t grownCost);
    void dropOut(std::uint32_t triangle);
    Indices& bucketOf(std::uint32_t triangle);
    void judgeAttempt(std::uint32_t seed);
    void undoStrips();
    std::uint32_t storeBatch();

    Graph& graph_;
    const Parameters& parameters_;
    std::array<Indices, 4> buckets_;
    std::uint32_t stripCost_ = 0;
    std::uint32_t fanCost_ = 0;
    std::uint32_t bestSeed_ = 1;
};

std::uint32_t Optimiser::run() {
    std::srand(1);
    graph_.invalidCount = 0;
    graph_.attempts.clear();
    graph_.best = 0;
    graph_.worst = 0;

    if (parameters_.allStrips) {
        freeTheClaimed();
    }
    if (parameters_.buildFans) {
        buildFans();
    }
    if (parameters_.iterations == 0 || !parameters_.buildStrips) {
        appendAndEmpty(buckets_[0], graph_.freeTriangles);
    } else {
        sortIntoBuckets();
        runAttempts();
    }
    return stripCost_ + fanCost_ + (parameters_.allStrips ? 0 : storeBatch());
}

void Optimiser::freeTheClaimed() {
    for (std::uint32_t triangle : graph_.claimedTriangles) {
        graph_.state[triangle] = 0;
    }
    appendAndEmpty(graph_.freeTriangles, graph_.claimedTriangles);
}

void Optimiser::buildFans() {
    for (std::uint32_t v = 0; v < graph_.vertexHalfEdges.size(); ++v) {
        const auto& list = graph_.vertexHalfEdges[v];
        if (list.empty() || list.size() < parameters_.minFanTriangles) {
            continue;
        }
        const Indices ring = closedRing(v);
        if (ring.empty()) {
            continue;
        }
        for (std::uint32_t triangle : ring) {
            claimForFan(triangle);
        }
        graph_.fans.push_back({v, ring});
        fanCost_ += static_cast<std::uint32_t>(list.size()) + 2;
    }
}

/// The triangles around the vertex in walking order, none when the ring is open or a triangle of it is taken.
Indices Optimiser::closedRing(std::uint32_t centre) const {
    const std::uint32_t start = graph_.vertexHalfEdges[centre][0].second;
    Indices ring;
    std::uint32_t h = start;
    do {
        if (graph_.state[Graph::triangleOf(h)] < 0) {
            return {};
        }
        ring.push_back(Graph::triangleOf(h));
        h = graph_.twin[Graph::next(Graph::next(h))];
        if (h == none) {
            return {};
        }
    } while (h != start);
    return ring;
}

void Optimiser::claimForFan(std::uint32_t triangle) {
    remove(graph_.freeTriangles, triangle);
    for (std::uint32_t h = 3 * triangle; h < 3 * triangle + 3; ++h) {
        if (leadsToFree(h)) {
            --graph_.state[graph_.twinTriangle(h)];
        }
    }
    graph_.state[triangle] = fanState;
}

void Optimiser::sortIntoBuckets() {
    Indices all;
    appendAndEmpty(all, graph_.freeTriangles);
    for (std::uint32_t triangle : all) {
        graph_.invalidCount += graph_.state[triangle] < 0 ? 1U : 0U;
        bucketOf(triangle).push_back(triangle);
    }
}

/// A triangle that is neither free nor claimed by a primitive waits with those of three neighbours.
Indices& Optimiser::bucketOf(std::uint32_t triangle) {
    const int state = graph_.state[triangle];
    return buckets_[state < 0 ? 3U : static_cast<std::size_t>(state)];
}

void Optimiser::runAttempts() {
    for (std::uint32_t remaining = parameters_.iterations - 1;; --remaining) {
        const std::uint32_t seed = remaining != 0 ? static_cast<std::uint32_t>(std::rand()) : bestSeed_;
        std::srand(seed);
        stripCost_ = 0;
        buildStrips();
        if (parameters_.iterations > 1) {
            judgeAttempt(seed);
        }
        if (remaining == 0) {
            return;
        }
        undoStrips();
    }
}

void Optimiser::judgeAttempt(std::uint32_t seed) {
    const auto plain = static_cast<std::uint32_t>(buckets_[0].size());
    const auto total = static_cast<std::int32_t>(3 * plain + stripCost_ + fanCost_);
    if (total < graph_.best || graph_.best == 0) {
        graph_.best = total;
        bestSeed_ = seed;
    }
    graph_.worst = std::max(graph_.worst, total);
    graph_.attempts.push_back({total, graph_.best, graph_.worst});
}

int Optimiser::lowestFullBucket() const {
    for (int i = parameters_.allStrips ? 0 : 1; i < 4; ++i) {
        if (!buckets_[static_cast<std::size_t>(i)].empty()) {
            return i;
        }
    }
    return -1;
}

void Optimiser::buildStrips() {
    for (int bucket = lowestFullBucket(); bucket != -1; bucket = lowestFullBucket()) {
        buildStrip(pickStart(buckets_[static_cast<std::size_t>(bucket)]));
    }
}

std::uint32_t Optimiser::pickStart(const Indices& bucket) const {
    return parameters_.iterations > 1 ? bucket[Graph::pick(bucket.size(), std::rand())] : bucket[0];
}

bool Optimiser::leadsToFree(std::uint32_t halfEdge) const {
    return graph_.twin[halfEdge] != none && graph_.state[graph_.twinTriangle(halfEdge)] > 0;
}

std::uint32_t Optimiser::firstLeavingEdge(std::uint32_t start) const {
    std::uint32_t last = none;
    for (std::uint32_t h = 3 * start; h < 3 * start + 3; ++h) {
        if (!leadsToFree(h)) {
            continue;
        }
        if (leadsToFree(Graph::next(Graph::next(graph_.twin[h])))) {
            return h;
        }
        last = h;
    }
    return last;
}

void Optimiser::buildStrip(std::uint32_t start) {
    std::uint32_t leaving = firstLeavingEdge(start);
    dropOut(start);
    Indices strip{start};
    std::uint32_t cost = leaving == none ? 3 : 4;
    int parity = leaving == none ? 3 : 1;

    while (parity != 3) {
        const std::uint32_t entering = graph_.twin[leaving];
        if (entering == none || graph_.state[Graph::triangleOf(entering)] <= stripState) {
            // The state before promised a neighbour that is not there.
            break;
        }
        const std::uint32_t triangle = Graph::triangleOf(entering);
        const std::uint32_t after = Graph::next(entering);
        const std::uint32_t before = Graph::next(after);
        const std::uint32_t wanted = parity == 1 ? before : after;
        if (graph_.state[triangle] == 0) {
            parity = 3;
        } else if (leadsToFree(wanted)) {
            leaving = wanted;
            cost += 1;
            parity = parity == 1 ? 2 : 1;
        } else {
            leaving = parity == 1 ? after : before;
            cost += 2;
        }
        dropOut(triangle);
        strip.push_back(triangle);
    }
    store(strip, cost);
}

void Optimiser::store(const Indices& strip, std::uint32_t grownCost) {
    const std::uint32_t reversedCost = parameters_.iterations > 1 ? graph_.calcStripCost(strip, true) : 0;
    const bool reversed = reversedCost != 0 && reversedCost < grownCost;
    graph_.strips.push_back({reversed ? 1U : 0U, strip});
    stripCost_ += reversed ? reversedCost : grownCost;
}

void Optimiser::dropOut(std::uint32_t triangle) {
    remove(bucketOf(triangle), triangle);
    graph_.state[triangle] = stripState;
    for (std::uint32_t h = 3 * triangle; h < 3 * triangle + 3; ++h) {
        if (leadsToFree(h)) {
            const std::uint32_t neighbour = graph_.twinTriangle(h);
            remove(bucketOf(neighbour), neighbour);
            --graph_.state[neighbour];
            bucketOf(neighbour).push_back(neighbour);
        }
    }
}

void Optimiser::undoStrips() {
    Indices all;
    appendAndEmpty(all, buckets_[3]);
    appendAndEmpty(all, buckets_[0]);
    for (Entry& strip : graph_.strips) {
        appendAndEmpty(all, strip.triangles);
    }
    graph_.strips.clear();

    for (std::uint32_t triangle : all) {
        int neighbours = 0;
        for (std::uint32_t h = 3 * triangle; h < 3 * triangle + 3; ++h) {
            if (graph_.twin[h] != none && graph_.state[graph_.twinTriangle(h)] >= stripState) {
                ++neighbours;
            }
        }
        graph_.state[triangle] = neighbours;
        bucketOf(triangle).push_back(triangle);
    }
}

std::uint32_t Optimiser::storeBatch() {
    Indices batch;
    appendAndEmpty(batch, buckets_[0]);
    appendAndEmpty(batch, graph_.claimedTriangles);
    if (batch.empty()) {
        return 0;
    }
    graph_.triangleLists.push_back({0, batch});
    return 3 * static_cast<std::uint32_t>(batch.size());
}

} // namespace

std::uint32_t Graph::calcOptPrim(const Parameters& parameters) {
    return Optimiser(*this, parameters).run();
}

std::size_t Graph::pick(std::size_t count, int r) {
    // Every operation rounds to single precision; which triangle is picked depends on it.
    const float last = static_cast<float>(count - 1);
    const float product = last * static_cast<float>(r);
    const auto position = static_cast<std::size_t>(product * 4.656613e-10F);
    return std::min(position, count - 1);
}

std::uint32_t Graph::calcStripCost(const Indices& strip, bool reversed) const {
    Indices walk = strip;
    if (reversed) {
        std::reverse(walk.begin(), walk.end());
    }
    if (walk.size() < 2) {
        return walk.empty() ? 0 : 3;
    }
    std::uint32_t leaving = edgeTowards(walk[0], walk[1]);
    std::uint32_t cost = 4;
    int parity = 1;
    for (std::size_t i = 1; i + 1 < walk.size(); ++i) {
        const std::uint32_t entering = leaving == none ? none : twin[leaving];
        leaving = edgeTowards(walk[i], walk[i + 1]);
        const bool matches = entering != none && leaving == (parity == 1 ? next(next(entering)) : next(entering));
        cost += matches ? 1 : 2;
        if (matches) {
            parity = parity == 1 ? 2 : 1;
        }
    }
    return cost;
}

} // namespace reference
