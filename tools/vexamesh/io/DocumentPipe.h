#pragma once

#include "io/Document.h"
#include "process/Subprocess.h"

namespace vexa::tool {

/// Sends a document to the parent process, without its decoded meshes.
void sendDocument(PipeWriter& pipe, const Document& document);

/// Receives a document from `sendDocument`.
///
/// \throw ProcessError the child process ended early
Document receiveDocument(ChildProcess& child);

} // namespace vexa::tool
