// What surrounds the process, as tests have set it.
#include <filesystem>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <Foundation/Foundation.h>
#include <standin/foundation.h>
#include <unistd.h>

extern "C" const char* standin_nameOf(Class named);

namespace standin::foundation {

namespace {

std::mutex mutex;

Surroundings& current() {
  static auto& all = *new Surroundings;
  return all;
}

std::vector<std::string>& log() {
  static auto& all = *new std::vector<std::string>;
  return all;
}

void note(std::string call) {
  const std::lock_guard lock(mutex);
  log().push_back(std::move(call));
}

Surroundings surroundings() {
  const std::lock_guard lock(mutex);
  return current();
}

NSString* made(const std::string& text) {
  return [NSString stringWithUTF8String:text.c_str()];
}

std::string shown(NSString* text) {
  return text == nil ? "nil" : text.UTF8String;
}

}  // namespace

void setSurroundings(Surroundings surroundings) {
  const std::lock_guard lock(mutex);
  current() = std::move(surroundings);
}

std::vector<std::string> calls() {
  const std::lock_guard lock(mutex);
  return log();
}

void clearCalls() {
  const std::lock_guard lock(mutex);
  log().clear();
}

}  // namespace standin::foundation

using standin::foundation::made;
using standin::foundation::note;
using standin::foundation::shown;
using standin::foundation::surroundings;

@implementation NSFileManager

+ (NSFileManager*)defaultManager {
  return [[NSFileManager alloc] init];
}

- (NSArray<NSURL*>*)URLsForDirectory:(NSSearchPathDirectory)directory
                           inDomains:(NSSearchPathDomainMask)domainMask {
  note("URLsForDirectory " + std::to_string(directory) + " " + std::to_string(domainMask));
  NSMutableArray<NSURL*>* found = [[NSMutableArray alloc] init];
  if (directory == NSApplicationSupportDirectory && domainMask == NSUserDomainMask) {
    for (const std::string& each : surroundings().applicationSupport) {
      [found addObject:[NSURL fileURLWithPath:made(each)]];
    }
  }
  return found;
}

@end

@implementation NSBundle {
  standin::foundation::Bundle bundle_;
}

+ (NSBundle*)mainBundle {
  NSBundle* result = [[NSBundle alloc] init];
  result->bundle_ = surroundings().mainBundle;
  return result;
}

// The main bundle has all classes that are not known to be elsewhere.
+ (NSBundle*)bundleForClass:(Class)aClass {
  const std::string name = standin_nameOf(aClass);
  note("bundleForClass " + name);
  NSBundle* result = [NSBundle mainBundle];
  const auto all = surroundings().bundlesOfClasses;
  const auto found = all.find(name);
  if (found != all.end()) result->bundle_ = found->second;
  return result;
}

- (NSString*)bundleIdentifier {
  return bundle_.identifier ? made(*bundle_.identifier) : nil;
}

- (NSString*)pathForResource:(NSString*)name ofType:(NSString*)extension {
  note("pathForResource " + shown(name) + " " + shown(extension));
  if (name == nil) return nil;
  std::string file = name.UTF8String;
  if (extension.length > 0) file.append(".").append(extension.UTF8String);
  const auto path = std::filesystem::path(bundle_.resourceDirectory) / file;
  std::error_code error;
  return std::filesystem::exists(path, error) ? made(path.native()) : nil;
}

@end

@implementation NSProcessInfo

+ (NSProcessInfo*)processInfo {
  return [[NSProcessInfo alloc] init];
}

- (NSDictionary<NSString*, NSString*>*)environment {
  std::vector<id> names;
  std::vector<id> values;
  for (char** each = environ; each != nullptr && *each != nullptr; ++each) {
    const std::string entry = *each;
    const std::size_t end = entry.find('=');
    if (end == std::string::npos) continue;
    NSString* name = made(entry.substr(0, end));
    NSString* value = made(entry.substr(end + 1));
    if (name == nil || value == nil) continue;
    names.push_back(name);
    values.push_back(value);
  }
  return [NSDictionary dictionaryWithObjects:values.data() forKeys:names.data() count:names.size()];
}

@end

NSString* NSHomeDirectory(void) {
  note("NSHomeDirectory");
  return made(surroundings().homeDirectory);
}
