#include "tessline/model/BluetoothUUID.h"

namespace tessline {

std::string BluetoothUUID::text() const {
  std::string whole = value_.text();
  if (textSize_ == whole.size()) return whole;
  return whole.substr(8 - textSize_, textSize_);
}

}  // namespace tessline
