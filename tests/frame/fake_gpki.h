// A fake GPKI module for the hand-off tests: SEED-CBC with PKCS #7 padding (by OpenSSL) behind
// the slots of a GpkiFunctionTable, recording every slot call, with switches to make a cipher
// step fail or the error-text slot decline.
#pragma once

#include <vorelcrypto/common.h>

#include <string>
#include <vector>

namespace fakegpki {

struct Module {
    // Switches.
    int failSlot = 0;            // 12, 13 or 14: that slot returns kFailure
    bool declineErrorText = false;
    // Records.
    std::vector<int> slots;      // every slot called, in order
    std::string workString;      // as slot 1 received it
    int algorithm = -1;          // as slot 12 received it
    std::vector<uint8_t> key, iv;
    int liveObjects = 0, liveHandles = 0;
};

constexpr int kFailure = 4242;
constexpr const char *kErrorText = "fake GPKI: step refused";

// Registers the module (fresh records, switches off) and returns it; Uninstall restores the
// empty table.
Module &Install();
void Uninstall();

}  // namespace fakegpki
