#include "platform/user_defaults_contract.h"

#include "support/memory/memory_user_defaults.h"

namespace dravo::memory {
namespace {

struct MemoryBench {
    UserDefaults& defaults() { return stored; }
    void replaceFromOutside(const DefaultsValues& values) { stored.replaceFromOutside(values); }
    void reopen() {}
    MemoryUserDefaults stored;
};

}  // namespace
}  // namespace dravo::memory

namespace dravo {
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, UserDefaultsContract, memory::MemoryBench);
}  // namespace dravo
