#pragma once

// For the facade's own source files only: how each of them defines its process-wide instance.
//
// Static objects of other files may call the facade from their constructors and destructors, in any order of linking.
// The instances are therefore constructed before all of them and destroyed after all of them.

#if defined(_MSC_VER)
#pragma warning(disable : 4073) // "initializers put in library initialization area": that is the purpose
#pragma init_seg(lib)
#define KV_FACADE_INSTANCE
#else
#define KV_FACADE_INSTANCE [[gnu::init_priority(101)]] // the first that is not reserved for the implementation
#endif
