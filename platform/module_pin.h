// The module in the process that has loaded it.
#ifndef BRENHOLT_PLATFORM_MODULE_PIN_H
#define BRENHOLT_PLATFORM_MODULE_PIN_H

namespace brenholt {

// Takes a reference of the module to itself, unless it has one: a host that unloads it then leaves it
// loaded.
void PinModule();

// Drops that reference, if there is one. It may be the last: call it at the very end of an entry point,
// so that the call becomes a jump and nothing returns to code that is gone.
void UnpinModule();

// Where processes fork: has a fork run `before` first, and `inParent` and `inChild` after it. The first call
// counts; unloading the module ends it.
void OnFork(void (*before)(), void (*inParent)(), void (*inChild)());

}  // namespace brenholt

#endif
