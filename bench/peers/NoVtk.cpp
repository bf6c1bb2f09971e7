#include "peers/Peers.h"

namespace bench {

std::optional<Contender> vtkStrips(const ModelPtr&) {
    return std::nullopt;
}

} // namespace bench
