/// @file
/// References to objects of CoreFoundation.
#pragma once

#include <utility>

#include <CoreFoundation/CoreFoundation.h>

namespace tessline::platform {

/// Owns one reference to an object, or none. `Reference` is its type, for example `CFStringRef`.
template <class Reference>
class CFReference {
 public:
  /// To nothing.
  CFReference() = default;

  /// Takes over what a function with "Create" or "Copy" in its name returned.
  [[nodiscard]] static CFReference created(Reference object) { return CFReference(object); }
  /// Adds a reference to what a function with "Get" in its name returned.
  [[nodiscard]] static CFReference retained(Reference object) {
    if (object != nullptr) CFRetain(object);
    return CFReference(object);
  }

  CFReference(CFReference&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  CFReference& operator=(CFReference&& other) noexcept {
    CFReference(std::move(other)).swap(*this);
    return *this;
  }
  CFReference(const CFReference& other) : CFReference(retained(other.object_)) {}
  CFReference& operator=(const CFReference& other) {
    CFReference(other).swap(*this);
    return *this;
  }
  /// CFRelease does not take nothing.
  ~CFReference() {
    if (object_ != nullptr) CFRelease(object_);
  }

  Reference get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  explicit CFReference(Reference object) : object_(object) {}
  void swap(CFReference& other) noexcept { std::swap(object_, other.object_); }

  Reference object_ = nullptr;
};

}  // namespace tessline::platform
