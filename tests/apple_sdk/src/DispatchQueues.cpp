// Objects, queues and their work, as callers see them.
#include "DispatchWorld.h"

#include <utility>

using namespace standin::dispatch;

namespace {

// What stands for the attributes of a serial queue of that class: a place that is nothing else's.
dispatch_queue_attr_t standardQuality() {
  static char place = 0;
  return reinterpret_cast<dispatch_queue_attr_t>(&place);
}

}  // namespace

extern "C" {

void dispatch_retain(dispatch_object_t object) {
  const Lock lock = World::shared().lock();
  Object& retained = World::shared().object(__func__, objectOf(object));
  note(__func__, retained.name);
  ++retained.owners;
  World::retain(retained);
}

void dispatch_release(dispatch_object_t object) {
  const Lock lock = World::shared().lock();
  Object& released = World::shared().object(__func__, objectOf(object));
  note(__func__, released.name);
  const auto* const source = dynamic_cast<const Source*>(&released);
  if (source != nullptr && !source->isActive && source->owners == 1) {
    fail(__func__, "Release of an inactive object");
  }
  if (&released == &World::shared().mainQueue()) return;
  World::shared().letGo(released);
}

void dispatch_activate(dispatch_object_t object) {
  const Lock lock = World::shared().lock();
  Object& activated = World::shared().object(__func__, objectOf(object));
  note(__func__, activated.name);
  auto* const source = dynamic_cast<Source*>(&activated);
  if (source == nullptr || std::exchange(source->isActive, true)) return;
  arm(*source);
}

void dispatch_set_context(dispatch_object_t object, void* context) {
  const Lock lock = World::shared().lock();
  World::shared().object(__func__, objectOf(object)).context = context;
}

void dispatch_set_finalizer_f(dispatch_object_t object, dispatch_function_t finalizer) {
  const Lock lock = World::shared().lock();
  World::shared().object(__func__, objectOf(object)).finalizer = finalizer;
}

dispatch_queue_t dispatch_get_main_queue() {
  return handleOf<dispatch_queue_t>(&World::shared().mainQueue());
}

// Lives for good, as the system's do.
dispatch_queue_attr_t dispatch_queue_attr_make_with_qos_class(dispatch_queue_attr_t attributes,
                                                              qos_class_t qos_class,
                                                              int relative_priority) {
  if (attributes != DISPATCH_QUEUE_SERIAL) fail(__func__, "not a serial queue");
  if (qos_class != QOS_CLASS_DEFAULT || relative_priority != 0) {
    fail(__func__, "a class that nobody needs yet");
  }
  return standardQuality();
}

dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attributes) {
  const Lock lock = World::shared().lock();
  const bool isStandard = attributes == standardQuality();
  if (!isStandard && attributes != DISPATCH_QUEUE_SERIAL) fail(__func__, "not a serial queue");
  Queue* const queue = World::shared().makeQueue(label);
  if (isStandard) queue->quality = QOS_CLASS_DEFAULT;
  note(__func__, queue->name);
  return handleOf<dispatch_queue_t>(queue);
}

const char* dispatch_queue_get_label(dispatch_queue_t queue) {
  const Lock lock = World::shared().lock();
  return queueOf(__func__, queue).name.c_str();
}

void dispatch_queue_set_specific(dispatch_queue_t queue, const void* key, void* context,
                                 dispatch_function_t destructor) {
  const Lock lock = World::shared().lock();
  if (key == nullptr) fail(__func__, "no key");
  queueOf(__func__, queue).specifics[key] = {context, destructor};
}

void* dispatch_get_specific(const void* key) {
  const Lock lock = World::shared().lock();
  const Queue* const queue = World::current();
  if (queue == nullptr) return nullptr;
  const auto found = queue->specifics.find(key);
  return found == queue->specifics.end() ? nullptr : found->second.context;
}

void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work) {
  const Lock lock = World::shared().lock();
  require(__func__, work);
  note(__func__, queueOf(__func__, queue).name);
  World::shared().async(queueOf(__func__, queue), [context, work] { work(context); });
}

}  // extern "C"
