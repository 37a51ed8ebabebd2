#pragma once

#include <functional>
#include <string>

#include "foundation/Callbacks.h"
#include "foundation/HttpClient.h"

// The public releases of a project. Threads: any.

/// Requests the listing of the newest 8 releases of `project` ("owner/name") from the host `releases`.
/// Blocks.
HttpResponse fetchReleaseListing(const std::string& releases, const std::string& project, CancelFlag* cancel);

/// Returns the download address of the first asset with a wanted name in the newest release where that asset
/// has an address. Drafts and pre-releases count like any other. Returns an empty string when there is none
/// or when `listing` isn't a JSON array of releases, newest first.
std::string chooseAsset(const std::string& listing,
                        const std::function<bool(const std::string& name)>& isWanted);
