#pragma once

// For the facade's own source files only: each defines its process-wide instance with KV_FACADE_INSTANCE.
//
// Static objects of other files may call the facade from their constructors and destructors, in any order of linking.
// The instances are therefore constructed before all other static objects and destroyed after them.

#if defined(_MSC_VER)
#pragma warning(disable : 4073) // "initializers put in library initialization area": intended here
#pragma init_seg(lib)
#define KV_FACADE_INSTANCE
#else
#define KV_FACADE_INSTANCE [[gnu::init_priority(101)]] // the first that is not reserved for the implementation
#endif
