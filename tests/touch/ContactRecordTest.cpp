#include "tessline/touch/ContactRecord.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <set>
#include <tuple>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

// What of the last record is looked at; the rest need not be there.
constexpr std::size_t readSize = 48;
constexpr std::size_t recordSize = 96;

/// A record's fields as bits, so that a number of any kind can be compared.
using Bits = std::tuple<std::int32_t, std::int32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                        std::uint32_t>;

Bits bitsOf(const ContactRecord& contact) {
  const auto bits = [](float number) { return std::bit_cast<std::uint32_t>(number); };
  return {contact.state,   contact.identifier,      bits(contact.x),
          bits(contact.y), bits(contact.velocityX), bits(contact.velocityY)};
}

template <class Field>
void put(std::byte* record, std::size_t offset, Field field) {
  std::memcpy(record + offset, &field, sizeof field);
}

void putContact(std::byte* record, const ContactRecord& contact) {
  put(record, 20, contact.state);
  put(record, 24, contact.identifier);
  put(record, 32, contact.x);
  put(record, 36, contact.y);
  put(record, 40, contact.velocityX);
  put(record, 44, contact.velocityY);
}

constexpr ContactRecord contactA = {
    .state = 4, .identifier = 7, .x = 0.25F, .y = 0.75F, .velocityX = -1.5F, .velocityY = 2.5F};
constexpr ContactRecord contactB = {.state = std::numeric_limits<std::int32_t>::min(),
                                    .identifier = -1,
                                    .x = -0.0F,
                                    .y = std::numeric_limits<float>::infinity(),
                                    .velocityX = std::numeric_limits<float>::denorm_min(),
                                    .velocityY = 1e30F};

TEST(ContactRecord, FieldsStandAtTheirOffsets) {
  std::array<std::byte, recordSize> record{};
  putContact(record.data(), contactA);
  EXPECT_EQ(bitsOf(contactRecordAt(record.data(), 0)), bitsOf(contactA));
  putContact(record.data(), contactB);
  EXPECT_EQ(bitsOf(contactRecordAt(record.data(), 0)), bitsOf(contactB));
}

TEST(ContactRecord, EveryByteOfItsFieldsCountsAndNoOther) {
  std::array<std::byte, recordSize> record;
  record.fill(std::byte{0xA5});
  const Bits before = bitsOf(contactRecordAt(record.data(), 0));
  std::set<std::size_t> counting;
  for (std::size_t index = 0; index < recordSize; ++index) {
    record[index] ^= std::byte{0x01};
    if (bitsOf(contactRecordAt(record.data(), 0)) != before) counting.insert(index);
    record[index] ^= std::byte{0x01};
  }
  std::set<std::size_t> fields;
  for (std::size_t index = 20; index < 28; ++index) fields.insert(index);
  for (std::size_t index = 32; index < readSize; ++index) fields.insert(index);
  EXPECT_EQ(counting, fields);
}

TEST(ContactRecord, RecordsStand96BytesApart) {
  std::array<std::byte, 3 * recordSize> records{};
  putContact(records.data(), contactA);
  putContact(records.data() + 96, contactB);
  putContact(records.data() + 192, contactA);
  EXPECT_EQ(bitsOf(contactRecordAt(records.data(), 0)), bitsOf(contactA));
  EXPECT_EQ(bitsOf(contactRecordAt(records.data(), 1)), bitsOf(contactB));
  EXPECT_EQ(bitsOf(contactRecordAt(records.data(), 2)), bitsOf(contactA));
}

TEST(ContactRecord, AnyAlignmentWill) {
  std::array<std::byte, recordSize + 16> memory{};
  for (std::size_t shift = 0; shift < 16; ++shift) {
    putContact(memory.data() + shift, contactB);
    EXPECT_EQ(bitsOf(contactRecordAt(memory.data() + shift, 0)), bitsOf(contactB)) << shift;
  }
}

// Memory of exactly the size that is needed: AddressSanitizer sees a read beyond it.
TEST(ContactRecord, NothingBehindTheFieldsOfTheLastRecordIsRead) {
  for (const int count : {1, 2, 11}) {
    const std::size_t last = static_cast<std::size_t>(count - 1) * recordSize;
    const auto records = std::make_unique<std::byte[]>(last + readSize);
    putContact(records.get() + last, contactA);
    EXPECT_EQ(bitsOf(contactRecordAt(records.get(), count - 1)), bitsOf(contactA)) << count;
  }
}

TEST(ContactRecord, StatesHaveTheirNumbers) {
  EXPECT_EQ(contactBegan, 3);
  EXPECT_EQ(contactMoved, 4);
  EXPECT_EQ(contactEnded, 5);
}

}  // namespace
}  // namespace tessline::test
