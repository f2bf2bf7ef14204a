// Elements shared by the container tests: an ordered object with a key and a tag, counting
// how many are alive, and a helper that walks an operation through failing allocations.
#pragma once

#include <gtest/gtest.h>
#include "kolib/object.h"
#include "kolib/testing.h"

namespace kotest {

struct Item : KoObject {
    explicit Item(int key, int tag = 0) : Key(key), Tag(tag) { ++Alive; }
    ~Item() override { --Alive; }
    int16_t compare(const KoObject* other) const override {
        int theirs = static_cast<const Item*>(other)->Key;
        return Key < theirs ? -1 : (Key > theirs ? 1 : 0);
    }
    int Key, Tag;
    static int Alive;
};

// Makes the 1st, 2nd, ... allocation of `attempt` fail until it succeeds. `attempt(failed)`
// builds its own container, runs the operation with failure armed through `arm()`, and checks
// what it must in either case; every round must leave the live block count as it found it.
template <typename Attempt> void walkFailures(Attempt attempt) {
    for (long n = 1; n < 100; ++n) {
        long before = ramLiveBlocks();
        bool succeeded = attempt([n] { ramFailAfter(n); });
        ramFailAfter(0);
        EXPECT_EQ(ramLiveBlocks(), before) << "leak when allocation " << n << " failed";
        if (succeeded) return;
    }
    ADD_FAILURE() << "the operation never succeeded";
}

} // namespace kotest
