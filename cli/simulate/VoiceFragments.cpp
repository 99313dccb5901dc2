#include "cli/simulate/VoiceFragments.h"

#include <algorithm>

namespace tessline::cli {

namespace {

constexpr std::uint16_t voiceAttributeHandle = 0x0036;
constexpr std::uint8_t frameMarker = 0xB8;
constexpr std::uint8_t boundaryBits = 0x30;

/// What follows the sequence number. The first of these bytes is not zero, so that no sequence
/// number completes the beginning of a button report.
constexpr std::array<std::uint8_t, 2> shortFormFiller = {0x80, 0x3E};
constexpr std::array<std::uint8_t, 4> longFormFiller = {0x80, 0x3E, 0x00, 0x01};
constexpr std::size_t sequenceLength = 2;
constexpr std::size_t lengthByteLength = 1;

constexpr std::span<const std::uint8_t> filler(VoiceForm form) {
  switch (form) {
    case VoiceForm::shortForm:
      return shortFormFiller;
    case VoiceForm::longForm:
      return longFormFiller;
  }
  return {};
}

/// In the short form the third Opus byte stands where the long form has the first, and the long
/// form is looked for first.
bool looksLikeLongForm(std::span<const std::uint8_t> opusPacket) {
  return opusPacket.size() > 2 && opusPacket[2] == frameMarker;
}

/// How many bytes from the front of `data` one packet can carry, at most `capacity`, without
/// holding the first three bytes that button reports and session bounds have in common.
std::size_t lengthWithoutReport(std::span<const std::uint8_t> data, std::size_t capacity) {
  const std::size_t length = std::min(data.size(), capacity);
  const auto begin = data.begin();
  const auto end = begin + static_cast<std::ptrdiff_t>(length);
  for (auto found = std::find(begin, end, 0x1B); end - found > 2;
       found = std::find(found + 1, end, 0x1B)) {
    const bool reportHandle = found[1] == 0x23 || found[1] == 0x3A;
    if (reportHandle && found[2] == 0x00) return static_cast<std::size_t>(found - begin) + 1;
  }
  return length;
}

/// A continuation's data length stands where a packet with a leading byte has its boundary bits, so
/// some lengths say "first packet" there; 0xB8 in the right place would then make it one.
bool looksLikeFrameStart(std::span<const std::uint8_t> data) {
  if ((data.size() & boundaryBits) != static_cast<std::size_t>(PacketBoundary::first)) return false;
  constexpr std::size_t headerLength = 4;
  constexpr std::size_t longFormMarker = 19;
  constexpr std::size_t shortFormMarker = 17;
  return data[longFormMarker - headerLength] == frameMarker ||
         data[shortFormMarker - headerLength] == frameMarker;
}

std::size_t continuationLength(std::span<const std::uint8_t> data, const VoiceFrameLayout& layout) {
  const std::size_t length = lengthWithoutReport(data, layout.packetCapacity);
  if (layout.framing == PacketFraming::leadingByte || !looksLikeFrameStart(data.first(length))) {
    return length;
  }
  constexpr std::size_t lastHarmless = 0x1F;
  return (length & ~std::size_t{boundaryBits | 0x0F}) | lastHarmless;
}

}  // namespace

void VoiceFragments::split(std::span<const std::uint8_t> opusPacket, const VoiceFrameLayout& layout,
                           std::uint16_t sequence) {
  bytes_.clear();
  ends_.clear();
  const VoiceForm form = looksLikeLongForm(opusPacket) ? VoiceForm::longForm : layout.form;
  appendFirst(opusPacket, layout, form, sequence);
  while (!rest_.empty()) {
    const std::size_t length = continuationLength(rest_, layout);
    appendAclHeader(bytes_, layout.framing, PacketBoundary::continuation, length);
    bytes_.insert(bytes_.end(), rest_.begin(), rest_.begin() + static_cast<std::ptrdiff_t>(length));
    rest_ = rest_.subspan(length);
    ends_.push_back(bytes_.size());
  }
}

void VoiceFragments::appendFirst(std::span<const std::uint8_t> opusPacket,
                                 const VoiceFrameLayout& layout, VoiceForm form,
                                 std::uint16_t sequence) {
  const std::span<const std::uint8_t> fill = filler(form);
  const std::size_t frameHead = sequenceLength + fill.size() + lengthByteLength;
  const std::size_t head = notificationHeadLength + frameHead;
  const std::size_t length = lengthWithoutReport(opusPacket, layout.packetCapacity - head);
  appendAclHeader(bytes_, layout.framing, PacketBoundary::first, head + length);
  appendNotificationHead(bytes_, voiceAttributeHandle, frameHead + opusPacket.size());
  bytes_.push_back(static_cast<std::uint8_t>(sequence & 0xFFU));
  bytes_.push_back(static_cast<std::uint8_t>(sequence >> 8U));
  bytes_.insert(bytes_.end(), fill.begin(), fill.end());
  bytes_.push_back(static_cast<std::uint8_t>(opusPacket.size()));
  bytes_.insert(bytes_.end(), opusPacket.begin(),
                opusPacket.begin() + static_cast<std::ptrdiff_t>(length));
  ends_.push_back(bytes_.size());
  rest_ = opusPacket.subspan(length);
}

std::span<const std::uint8_t> VoiceFragments::operator[](std::size_t index) const {
  const std::size_t begin = index == 0 ? 0 : ends_[index - 1];
  return std::span(bytes_).subspan(begin, ends_[index] - begin);
}

}  // namespace tessline::cli
