/// @file
/// What every transport delivers: decoded events, in the order in which they happened.
#pragma once

#include "tessline/events/RemoteButtonEvent.h"
#include "tessline/events/RemoteVoiceFrame.h"
#include "tessline/model/Overloaded.h"

#include <utility>
#include <variant>

namespace tessline {

/// The remote began sending microphone audio.
struct VoiceSessionStarted {
  bool operator==(const VoiceSessionStarted&) const = default;
};

/// The remote stopped sending microphone audio.
struct VoiceSessionEnded {
  bool operator==(const VoiceSessionEnded&) const = default;
};

/// One decoded event. Events of different kinds are never equal; events of one kind are equal when
/// all their members are.
using TesslineEvent =
    std::variant<RemoteButtonEvent, RemoteVoiceFrame, VoiceSessionStarted, VoiceSessionEnded>;

/// Calls the one of `handlers` that takes the event's kind; every kind needs one.
/// For example `visitEvent(event, [](const RemoteButtonEvent&) {...}, [](const auto&) {})`.
template <class... Handlers>
decltype(auto) visitEvent(const TesslineEvent& event, Handlers&&... handlers) {
  return std::visit(Overloaded{std::forward<Handlers>(handlers)...}, event);
}

}  // namespace tessline
