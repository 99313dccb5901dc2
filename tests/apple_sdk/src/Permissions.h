/// @file
/// What the stand-ins' own sources know of permissions.
#pragma once

namespace standin::permissions {

/// Whether the process may listen to input devices. Any thread; no call is noted.
bool mayListen();

}  // namespace standin::permissions
