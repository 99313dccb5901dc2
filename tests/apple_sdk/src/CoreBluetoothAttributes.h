/// @file
/// What a peripheral offers, with what only the stand-in's own sources see of it.
#pragma once

#include "CoreBluetoothRadio.h"

#include <optional>
#include <string>
#include <vector>

@interface CBAttribute ()
- (instancetype)initWithUUIDText:(const std::string&)text;
@end

@interface CBCharacteristic () {
 @public
  standin::bluetooth::CharacteristicPlan plan_;
  standin::bluetooth::Place place_;
  NSData* value_;
  BOOL isDiscovered_;
  BOOL isNotifying_;
  __weak CBService* service_;
}
@end

@interface CBService () {
 @public
  std::vector<CBCharacteristic*> all_;
  std::optional<standin::bluetooth::Error> error_;
  BOOL isDiscovered_;
  __weak CBPeripheral* peripheral_;
}
@end
