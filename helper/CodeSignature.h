#pragma once

namespace helper {

/// Whether the open file carries the valid code signature of the capture tool's maker. True lets it
/// run although others than root can change it, so the answer must hold for what is executed later:
/// where the system does not check each page against the signature as it is loaded, the file has to
/// be copied to a place that root alone can change, and the copy be checked and executed. One file
/// CodeSignature_<system>.cpp implements it.
bool isSignedByMaker(int file);

}  // namespace helper
