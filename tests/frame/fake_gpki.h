// A fake GPKI module for the hand-off tests: SEED-CBC with PKCS #7 padding (by OpenSSL) behind
// the slots of a GpkiFunctionTable. It records the slot calls and the values it received, and
// has switches to make slot 12, 13 or 14 fail and slot 3 decline to give a text.
#pragma once

#include <vorelcrypto/common.h>

#include <string>
#include <vector>

namespace fakegpki {

struct Module {
    int failSlot = 0;  // 12, 13 or 14: that slot returns kFailure
    bool declineErrorText = false;
    std::vector<int> slots;  // in call order
    std::string workString;
    int algorithm = -1;
    std::vector<uint8_t> key, iv;
};

constexpr int kFailure = 4242;
constexpr const char *kErrorText = "fake GPKI: step refused";

// Registers the module with fresh records and returns it; Uninstall restores the empty table.
// Both reclaim the handles and objects that callers left open.
Module &Install();
void Uninstall();

}  // namespace fakegpki
