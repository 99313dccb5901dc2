// What managers tell of an advertisement.
#include "CoreBluetoothRadio.h"

#include <variant>

NSString* const CBAdvertisementDataLocalNameKey = @"kCBAdvDataLocalName";
NSString* const CBAdvertisementDataServiceUUIDsKey = @"kCBAdvDataServiceUUIDs";

namespace standin::bluetooth {

namespace {

id objectOf(const std::string& text) {
  return made(text);
}

id objectOf(const UUIDs& uuids) {
  NSMutableArray<CBUUID*>* all = [[NSMutableArray alloc] init];
  for (const std::string& text : uuids.texts) {
    [all addObject:[CBUUID UUIDWithString:made(text)]];
  }
  return all;
}

id objectOf(const Texts& texts) {
  NSMutableArray<NSString*>* all = [[NSMutableArray alloc] init];
  for (const std::string& text : texts.texts) [all addObject:made(text)];
  return all;
}

id objectOf(long number) {
  return [NSNumber numberWithLong:number];
}

id objectOf(const std::vector<std::uint8_t>& bytes) {
  return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

}  // namespace

NSDictionary<NSString*, id>* dictionaryOf(const Advertisement& advertisement) {
  std::vector<NSString*> keys;
  std::vector<id> values;
  for (const auto& [key, advertised] : advertisement) {
    keys.push_back(made(key));
    values.push_back(
        std::visit([](const auto& value) -> id { return objectOf(value); }, advertised));
  }
  return [NSDictionary dictionaryWithObjects:values.data() forKeys:keys.data() count:keys.size()];
}

}  // namespace standin::bluetooth
