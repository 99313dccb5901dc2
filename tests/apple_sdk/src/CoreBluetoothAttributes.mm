#include "CoreBluetoothAttributes.h"

@implementation CBAttribute {
  CBUUID* uuid_;
}

- (instancetype)initWithUUIDText:(const std::string&)text {
  if ((self = [super init]) == nil) return nil;
  uuid_ = [CBUUID UUIDWithString:standin::bluetooth::made(text)];
  return self;
}

- (CBUUID*)UUID {
  return uuid_;
}

@end

@implementation CBCharacteristic

- (CBService*)service {
  return service_;
}

- (CBCharacteristicProperties)properties {
  return plan_.properties;
}

- (NSData*)value {
  return value_;
}

- (BOOL)isNotifying {
  return isNotifying_;
}

@end

@implementation CBService

- (CBPeripheral*)peripheral {
  return peripheral_;
}

// None before the first were looked for.
- (NSArray<CBCharacteristic*>*)characteristics {
  NSMutableArray<CBCharacteristic*>* found = [[NSMutableArray alloc] init];
  for (CBCharacteristic* each : all_) {
    if (each->isDiscovered_) [found addObject:each];
  }
  return found.count == 0 ? nil : found;
}

@end
