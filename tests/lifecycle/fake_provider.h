// The counts of the fake provider. The test passes their address in the environment, so that they outlive the
// provider's library.
#ifndef ZEL_TESTS_LIFECYCLE_FAKE_PROVIDER_H
#define ZEL_TESTS_LIFECYCLE_FAKE_PROVIDER_H

namespace zel::test {

inline constexpr char kCountsVariable[] = "ZEL_TEST_PROVIDER_COUNTS";

struct ProviderCounts {
    int loads;
    int unloads;
    int entries;
    int dictionaries;
    int messageTables;
    int destructions;
    int lastFlag;
    int lookups;
    int otherSlots;
};

}  // namespace zel::test

#endif  // ZEL_TESTS_LIFECYCLE_FAKE_PROVIDER_H
