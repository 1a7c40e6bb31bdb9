// SPDX-License-Identifier: MIT

// The forwarders behind mbolt_api.h. Each has a slot that holds where its calls go: at first to the
// slot's binder, which finds the library's function and puts that into the slot. A bound call is
// therefore the load of the slot and a jump, with the arguments left where they are.
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

#include <atomic>

#include "probe/mbolt_api.h"
#include "probe/parameters.h"
#include "probe/probelib.h"

namespace {

// ---- Binding ----

// The library is closed before the message; the loader's text does not outlive that, so it is kept.
[[noreturn]] void EndForMissing(void* library, const char* name, const char* error) {
  char kept[1024];
  snprintf(kept, sizeof kept, "%s", error);
  dlclose(library);
  printf("Function not found: %s (%s). Exiting now.\n", name, kept);
  exit(1);
}

// The library's function of this name, with the library opened first if need be. Null when the
// library has the name with a null value; without the library or the name the process ends.
void* FindFunction(const char* name) {
  if (PROBELIB_Load(1) != 0) {
    return nullptr;
  }
  void* const library = std::atomic_ref(PROBELIB_hLib).load(std::memory_order_acquire);
  dlerror();
  void* const function = dlsym(library, name);
  const char* const error = dlerror();
  if (error != nullptr) {
    EndForMissing(library, name, error);
  }
  return function;
}

template <typename Function>
struct Slot;

template <typename... Arguments>
struct Slot<intptr_t(Arguments...)> {
  using Function = intptr_t(Arguments...);

  // Never null: a function without an address leaves the binder in place, so that the next call
  // looks it up again.
  std::atomic<Function*> function;
  const char* name;

  // The slot stands behind the arguments, which so stay in their registers on the way here.
  [[gnu::cold, gnu::noinline]] static intptr_t BindAndCall(Arguments... arguments, Slot& slot) {
    auto* const found = reinterpret_cast<Function*>(FindFunction(slot.name));
    if (found == nullptr) {
      return 0;
    }
    slot.function.store(found, std::memory_order_release);
    return found(arguments...);
  }

  template <Slot& slot>
  [[gnu::cold]] static intptr_t Binder(Arguments... arguments) {
    return BindAndCall(arguments..., slot);
  }
};

// ---- Slots ----

#define ENTRY_POINT(name, argument_count) \
  constinit Slot<decltype(name)> slot_##name{Slot<decltype(name)>::Binder<slot_##name>, #name};
#include "probe/entry_points.def"
#undef ENTRY_POINT

}  // namespace

// ---- Forwarders ----

// "used", because some linkers strip what nothing in the program refers to, exported or not.
#define ENTRY_POINT(name, argument_count)                                                    \
  [[gnu::used]] intptr_t name(PARAMETERS_##argument_count) {                                 \
    return slot_##name.function.load(std::memory_order_acquire)(ARGUMENTS_##argument_count); \
  }
#include "probe/entry_points.def"
#undef ENTRY_POINT
