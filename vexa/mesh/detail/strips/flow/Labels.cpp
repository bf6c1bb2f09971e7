#include "vexa/mesh/detail/strips/flow/Labels.h"

#include "vexa/mesh/detail/strips/LargeArray.h"
#include "vexa/mesh/detail/strips/flow/ChargeFlow.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace vexa::mesh::detail {

namespace {

/// Label across an edge, by [label << 4 | flow << 2 | place of the edge][place of the twin].
struct LabelAcross {
    std::uint8_t label[64][4];
};

consteval LabelAcross makeLabelAcross() {
    LabelAcross table{};
    for (unsigned i = 0; i < 64; ++i) {
        const unsigned label = i >> 4;
        const unsigned flow = i >> 2 & 3;
        const unsigned place = i & 3;
        for (unsigned twin = 0; twin < 4; ++twin) {
            table.label[i][twin] = static_cast<std::uint8_t>((label + 3 - place + flow + twin) % 3);
        }
    }
    return table;
}

constexpr LabelAcross labelAcross = makeLabelAcross();

/// Edges of a surface by what their cost depends on, to price its three labellings at once. Inner edges are counted from
/// both sides.
class EdgeCounts {
public:
    void addInner(std::uint32_t label, std::uint32_t place, std::uint32_t flow) {
        ++inner_[flow][fromEdge(label, place)];
    }
    void addBorder(std::uint32_t label, std::uint32_t place) { ++border_[fromEdge(label, place)]; }

    /// What to add to every label to make the surface cheapest.
    [[nodiscard]] std::uint32_t cheapestShift() const {
        std::uint32_t best = 0;
        for (std::uint32_t shift = 1; shift < 3; ++shift) {
            best = cost(shift) < cost(best) ? shift : best;
        }
        return best;
    }

private:
    static std::uint32_t fromEdge(std::uint32_t label, std::uint32_t place) { return (label + 3 - place) % 3; }

    /// Twice the number of indices: 3 for each strip end at an edge, 2 for a swap; doubled once more as inner edges are.
    [[nodiscard]] std::uint64_t cost(std::uint32_t shift) const {
        constexpr std::uint64_t swap = 2;
        constexpr std::uint64_t end = 3;
        std::uint64_t sum = 0;
        for (std::uint32_t counted = 0; counted < 3; ++counted) {
            const std::uint32_t here = (counted + shift) % 3;
            for (std::uint32_t flow = 1; flow < 3; ++flow) {
                const std::uint32_t across = (here + flow) % 3;
                sum += inner_[flow][counted] * (here != 0 && across != 0 ? swap : end);
            }
            sum += border_[counted] * (here != 0 ? 2 * end : 0);
        }
        return sum;
    }

    std::array<std::array<std::uint64_t, 3>, 3> inner_{};
    std::array<std::uint64_t, 3> border_{};
};

class Labelling {
public:
    Labelling(StripPartition& partition, StripMonitor& monitor)
        : partition_(partition), monitor_(monitor), labels_(std::size_t{partition.count()} + 1),
          queue_(std::size_t{partition.count()} + 3) {
        std::fill_n(labels_.get(), partition.count(), unreached);
        // Leaves its edge 0, which every border leads to: borders are never linked.
        labels_[partition.count()] = 0;
    }

    void run() {
        for (TriangleId triangle = 0; triangle < partition_.count(); ++triangle) {
            if (partition_.isCollapsed(triangle)) {
                labels_[triangle] = 0;
            } else if (labels_[triangle] == unreached) {
                labelSurface(triangle);
            }
        }
        forEachPolled(partition_.count(), monitor_.poller(), [this](TriangleId triangle) {
            if (!partition_.isCollapsed(triangle)) {
                link(triangle);
            }
        });
    }

private:
    static constexpr std::uint8_t unreached = 4;
    static constexpr std::size_t pollMask = (1U << 15) - 1;

    /// The labels and the queue of a search. A local copy, because labels are bytes, which may alias any member: each of
    /// these would be read from memory again after every label.
    struct Reached {
        const LinkedTriangle* triangles;
        std::uint8_t* labels;
        TriangleId* queue; ///< the newest entry may be one that turns out to be in it already
        std::size_t queueEnd;

        /// Labels a triangle and puts it into the queue if it is not labelled yet. No branch: whether it is could not be
        /// predicted, and compilers turn a conditional expression back into one.
        void add(HalfEdgeId across, std::uint32_t label) {
            const TriangleId triangle = triangleOf(across);
            __builtin_prefetch(&triangles[triangle]);
            const std::uint32_t old = labels[triangle];
            const std::uint32_t isNew = old >> 2;
            queue[queueEnd] = triangle;
            queueEnd += isNew;
            labels[triangle] = static_cast<std::uint8_t>(old ^ ((old ^ label) & (0 - isNew)));
        }
    };

    /// Breadth-first from one triangle, labelled 0 at first.
    void labelSurface(TriangleId start) {
        EdgeCounts counts;
        const std::size_t begin = queueEnd_;
        labels_[start] = 0;
        Reached reached{&partition_[0], labels_.get(), queue_.get(), queueEnd_ + 1};
        reached.queue[queueEnd_] = start;
        for (std::size_t i = begin; i < reached.queueEnd; ++i) {
            visit(reached.queue[i], reached, counts);
            if ((i & pollMask) == 0) {
                monitor_.poll(0.8 + 0.2 * static_cast<double>(i) / partition_.count(), 1);
            }
        }
        queueEnd_ = reached.queueEnd;
        if (const std::uint32_t shift = counts.cheapestShift(); shift != 0) {
            for (std::size_t i = begin; i < queueEnd_; ++i) {
                std::uint8_t& label = labels_[queue_[i]];
                label = static_cast<std::uint8_t>((label + shift) % 3);
            }
        }
    }

    void visit(TriangleId triangle, Reached& reached, EdgeCounts& counts) const {
        const LinkedTriangle& record = reached.triangles[triangle];
        const std::uint32_t label = reached.labels[triangle];
        bool hasBorder = false;
        for (std::uint32_t place = 0; place < 3; ++place) {
            const HalfEdgeId across = record.twin[place];
            hasBorder |= across == partition_.border();
            reached.add(across, labelAcross.label[label << 4 | flowOver(record, place) << 2 | place][placeOf(across)]);
        }
        if (record.flow != 0 || hasBorder) {
            for (std::uint32_t place = 0; place < 3; ++place) {
                if (record.twin[place] == partition_.border()) {
                    counts.addBorder(label, place);
                } else {
                    counts.addInner(label, place, flowOver(record, place));
                }
            }
        }
    }

    void link(TriangleId triangle) {
        LinkedTriangle& record = partition_[triangle];
        const std::uint32_t label = labels_[triangle];
        std::uint32_t links = 0;
        for (std::uint32_t place = 0; place < 3; ++place) {
            const HalfEdgeId across = record.twin[place];
            const bool isLinked = (place != label) & (labels_[triangleOf(across)] != placeOf(across));
            links |= (isLinked ? 1U : 0U) << place;
        }
        record.links = static_cast<EdgeSet>(links);
        record.label = static_cast<std::uint8_t>(label);
    }

    StripPartition& partition_;
    StripMonitor& monitor_;
    LargeArray<std::uint8_t> labels_;
    LargeArray<TriangleId> queue_;
    std::size_t queueEnd_ = 0;
};

} // namespace

void linkByLabels(StripPartition& partition, StripMonitor& monitor) {
    Labelling(partition, monitor).run();
}

void labelByLinks(StripPartition& partition) {
    for (TriangleId triangle = 0; triangle < partition.count(); ++triangle) {
        // Of a triangle with two links, the only one that is left.
        const std::uint32_t unlinked = ~std::uint32_t{partition.links(triangle)} & allEdges;
        partition[triangle].label = linkTables.first[unlinked];
    }
}

} // namespace vexa::mesh::detail
