#include "tessline/platform/macos/MacEnvironment.h"

#include "tessline/platform/macos/FoundationText.h"

#include <Foundation/Foundation.h>
#include <unistd.h>

// A class of this library: where it is, so are the library's resources.
@interface TesslineLibraryAnchor : NSObject
@end

@implementation TesslineLibraryAnchor
@end

namespace tessline::platform {

namespace {

class MacEnvironment : public HostEnvironment {
 public:
  std::map<std::string, std::string> variables() override {
    std::map<std::string, std::string> all;
    @autoreleasepool {
      NSDictionary<NSString*, NSString*>* environment = NSProcessInfo.processInfo.environment;
      for (NSString* name in environment) {
        all.emplace(textOf(name).value_or(""), textOf(environment[name]).value_or(""));
      }
    }
    return all;
  }

  std::uint32_t effectiveUserID() override { return ::geteuid(); }

  std::string homeDirectory() override {
    @autoreleasepool {
      return textOf(NSHomeDirectory()).value_or("");
    }
  }

  std::optional<std::string> applicationSupportDirectory() override {
    @autoreleasepool {
      return textOf([NSFileManager.defaultManager URLsForDirectory:NSApplicationSupportDirectory
                                                         inDomains:NSUserDomainMask]
                        .firstObject.path);
    }
  }

  std::chrono::system_clock::time_point currentDate() override {
    return std::chrono::system_clock::now();
  }

  std::optional<std::string> mainBundleIdentifier() override {
    @autoreleasepool {
      return textOf(NSBundle.mainBundle.bundleIdentifier);
    }
  }

  std::optional<std::string> resource(Bundle bundle, std::string_view name,
                                      std::string_view extension) override {
    @autoreleasepool {
      NSBundle* where = bundle == Bundle::main
                            ? NSBundle.mainBundle
                            : [NSBundle bundleForClass:[TesslineLibraryAnchor class]];
      NSString* type = extension.empty() ? nil : makeNSString(extension);
      return textOf([where pathForResource:makeNSString(name) ofType:type]);
    }
  }
};

}  // namespace

std::shared_ptr<HostEnvironment> makeMacEnvironment() {
  return std::make_shared<MacEnvironment>();
}

}  // namespace tessline::platform
