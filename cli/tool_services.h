// The package's tool services (IKMAToolServices) as the commands use them: their own output files
// are written the way the library writes media files, and a failure comes back as a DataError
// carrying the package's reason.
#ifndef TAGVERA_CLI_TOOL_SERVICES_H
#define TAGVERA_CLI_TOOL_SERVICES_H

#include <cstdint>
#include <span>
#include <string>

#include "cli/command.h"
#include "tagvera/com_ptr.h"
#include "tagvera/tool_services.h"

namespace tagvera::cli {

// Throws DataError when the loaded library does not offer them.
ComPtr<IKMAToolServices> ToolServices(CommandContext& ctx);

// Why an operation failed: the package's reason when it gave one, else the code's name.
std::string FailureText(HRESULT hr, IKMABuffer* reason);

// Replaces or creates path with bytes through a temporary file, synced and renamed into place.
void WriteOutputFile(CommandContext& ctx, const std::string& path, std::span<const uint8_t> bytes);

}  // namespace tagvera::cli

#endif
