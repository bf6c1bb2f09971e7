#pragma once

#include "io/Document.h"
#include "ops/Stripping.h"

#include <cstddef>
#include <string>

namespace vexa::tool {

/// How the triangles of a primitive are written.
enum class StripForm {
    Strips,
    StripsAndList, ///< with a list of the triangles in no strip
    List,
    Unchanged ///< except for the type of the indices, which may become narrower
};

/// "strips", "strips and a list", "a list" or "unchanged"
const char* formText(StripForm form);

/// The form of a primitive in the output.
struct ChosenForm {
    std::size_t primitive = 0; ///< position in the mesh of the input
    StripForm form = StripForm::Strips;
    std::string why; ///< strips alone are not written; "" when they are
};

/// Chooses the form with the fewest bytes of indices: strips, strips with a list, a list, or the primitive as it is; a
/// list besides strips only where it saves more than a further primitive costs. Strips are written in any case where the
/// settings want them even so, and instead of restart indices that the join does not permit.
///
/// \param isShared the file needs the indices of the primitive anyway, for others that use them in another way
/// \param result   of `stripTriangles`; its primitives become those to be written (none: leave the primitive as it is), its
///                 parts and their numbers fit these
ChosenForm chooseForm(const Document& document, const Primitive& primitive, bool isShared,
                      const StripSettings& settings, StripResult& result);

} // namespace vexa::tool
