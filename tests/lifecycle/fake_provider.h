// What the fake provider counts. The test hands the address over in the environment, so that the counts outlive the
// library that the provider lives in.
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
