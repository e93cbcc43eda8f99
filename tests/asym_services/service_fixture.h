// The service fixture with the allocation-fault loop of the public-key services, whose results
// on a failed allocation differ from service to service.
#pragma once

#include <utility>
#include <vector>

#include "asym_services/asym_test_util.h"
#include "frame/service_fixture.h"

namespace asymtest {

class AsymServiceTest : public vctest::ServiceTest {
protected:
    // Runs `call` with the n-th V_calloc failing for n = 1, 2, ... until it reports success.
    // `call` returns {the value to record, success}; it frees what a successful call handed
    // out. No row may leave a block behind. Returns the recorded values of the failing rows.
    template <class Call>
    std::vector<int32_t> failEach(Call call) {
        std::vector<int32_t> codes;
        for (uint32_t n = 1; n < 40; ++n) {
            const uint32_t before = liveBlocks();
            ctx.error = 4242;
            V_FailNthCalloc(n);
            const std::pair<int32_t, bool> r = call();
            V_FailNthCalloc(0);
            EXPECT_EQ(liveBlocks(), before) << "allocation " << n;
            if (r.second) return codes;
            codes.push_back(r.first);
        }
        ADD_FAILURE() << "never succeeded";
        return codes;
    }
    Bytes take(DataBlob &out) { 
        Bytes b(out.Data, out.Data + (out.Data ? out.Length : 0));
        V_free(&ctx, out.Data);
        out = {0, nullptr};
        return b;
    }
};

}  // namespace asymtest
