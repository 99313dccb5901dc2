/// @file
/// Names of the properties that matching goes by.
#pragma once

#define kIOHIDVendorIDKey "VendorID"
#define kIOHIDProductIDKey "ProductID"
