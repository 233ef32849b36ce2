// The locks are inline classes; this file makes the library define and export
// their run-time type records, which belong to its interface.
#include <typeinfo>

#include "vesk/threads/mutex"

namespace Vesk {

VESK_EXPORT extern const std::type_info* const gLockTypeRecords[];
const std::type_info* const gLockTypeRecords[] = {&typeid(VeskThreadUncopyable), &typeid(Mutex),
                                                  &typeid(ScopedLock)};

}  // namespace Vesk
