/// @file
/// The parts of CoreGraphics that the adapters use.
#pragma once

#include <CoreGraphics/CGEvent.h>
#include <CoreGraphics/CGGeometry.h>
