/// @file
/// What the system's multitouch library delivers of a finger.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tessline {

/// Where the fields of a contact record stand, in bytes from its start, and how far apart records
/// are. The numbers are those of the MultitouchSupport library; all other bytes of a record are
/// ignored. Integers are of 32 bits and numbers IEEE single precision, in the machine's byte order.
namespace contactRecordLayout {
inline constexpr std::size_t stride = 96;            ///< From one record to the next.
inline constexpr std::size_t stateOffset = 20;       ///< Integer, the contact's state.
inline constexpr std::size_t identifierOffset = 24;  ///< Integer, for the life of the contact.
inline constexpr std::size_t xOffset = 32;           ///< Number, 0 to 1 across the surface.
inline constexpr std::size_t yOffset = 36;           ///< Number, 0 to 1, upwards.
inline constexpr std::size_t velocityXOffset = 40;   ///< Number, of the same unit a second.
inline constexpr std::size_t velocityYOffset = 44;   ///< Number, of the same unit a second.
}  // namespace contactRecordLayout

inline constexpr std::int32_t contactBegan = 3;  ///< The state of a contact in its first frame.
inline constexpr std::int32_t contactMoved = 4;  ///< The state of a contact after that.
inline constexpr std::int32_t contactEnded = 5;  ///< The state of a contact in its last frame.

/// The fields of a contact record that are of use.
struct ContactRecord {
  std::int32_t state = 0;       ///< `contactBegan`, `contactMoved`, `contactEnded` or another.
  std::int32_t identifier = 0;  ///< Which contact.
  float x = 0;                  ///< 0 to 1, to the right.
  float y = 0;                  ///< 0 to 1, upwards.
  float velocityX = 0;          ///< Surfaces a second, to the right.
  float velocityY = 0;          ///< Surfaces a second, upwards.
};

/// Reads the record of that index behind `touches`, of whatever alignment.
inline ContactRecord contactRecordAt(const std::byte* touches, std::int64_t index) {
  using namespace contactRecordLayout;
  const std::byte* const record = touches + static_cast<std::size_t>(index) * stride;
  const auto read = [record]<class Field>(std::size_t offset, Field& field) {
    std::memcpy(&field, record + offset, sizeof field);
  };
  ContactRecord contact;
  read(stateOffset, contact.state);
  read(identifierOffset, contact.identifier);
  read(xOffset, contact.x);
  read(yOffset, contact.y);
  read(velocityXOffset, contact.velocityX);
  read(velocityYOffset, contact.velocityY);
  return contact;
}

}  // namespace tessline
