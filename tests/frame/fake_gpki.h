// A fake GPKI module for the hand-off tests: SEED-CBC with PKCS #7 padding (by OpenSSL) behind
// the slots of a GpkiFunctionTable. It records the slot calls and the values it received, and
// has switches to make slot 12, 13 or 14 fail and slot 3 decline to give a text.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "cipher_oracle.h"

namespace fakegpki {

struct Module {
    int failSlot = 0;  // 12, 13 or 14: that slot returns kFailure
    bool declineErrorText = false;
    std::vector<int> slots;  // in call order
    std::string workString;
    int algorithm = -1;
    std::vector<uint8_t> key, iv;
    int liveObjects = 0, liveHandles = 0;
};

constexpr int kFailure = 4242;
constexpr const char *kErrorText = "fake GPKI: step refused";

namespace detail {

inline Module g;
struct Handle { std::vector<uint8_t> key, iv; };

inline void assign(GpkiBinString *object, const uint8_t *data, size_t length) {
    delete[] object->data;
    object->data = new uint8_t[length + 1];
    std::copy(data, data + length, object->data);
    object->length = uint32_t(length);
}

inline int32_t cipher(int slot, void *handle, GpkiBinString *in, GpkiBinString *out) {
    g.slots.push_back(slot);
    if (g.failSlot == slot) return kFailure;
    auto *h = static_cast<Handle *>(handle);
    bool ok = false;
    const symtest::Bytes r = symtest::evp("SEED-CBC", slot == 13, h->key, h->iv,
                                          symtest::Bytes(in->data, in->data + in->length), true, 0, &ok);
    if (!ok) return 12;
    assign(out, r.data(), r.size());
    return 0;
}

}  // namespace detail

// Registers the module with fresh records and returns it; Uninstall restores the empty table.
inline Module &Install() {
    using detail::g;
    static int marker;
    g = Module{};
    GpkiFunctionTable t{};
    t.present = &marker;
    t.open = [](void **h, char *work) {
        g.slots.push_back(1);
        g.workString = work;
        *h = new detail::Handle;
        ++g.liveHandles;
        return int32_t(0);
    };
    t.close = [](void **h) {
        g.slots.push_back(2);
        delete static_cast<detail::Handle *>(*h);
        --g.liveHandles;
        return int32_t(0);
    };
    t.errorText = [](void *, int32_t size, char *text) {
        g.slots.push_back(3);
        if (g.declineErrorText) return int32_t(7);
        std::snprintf(text, size_t(size), "%s", kErrorText);
        return int32_t(0);
    };
    t.newBinString = [](GpkiBinString **o) {
        g.slots.push_back(4);
        *o = new GpkiBinString{0, nullptr};
        ++g.liveObjects;
        return int32_t(0);
    };
    t.deleteBinString = [](GpkiBinString **o) {
        g.slots.push_back(5);
        delete[] (*o)->data;
        delete *o;
        --g.liveObjects;
        return int32_t(0);
    };
    t.setBinString = [](const uint8_t *data, uint32_t length, GpkiBinString **o) {
        g.slots.push_back(6);
        detail::assign(*o, data, length);
        return int32_t(0);
    };
    t.symStart = [](void *handle, int32_t algorithm, GpkiBinString *key, GpkiBinString *iv) {
        g.slots.push_back(12);
        if (g.failSlot == 12) return int32_t(kFailure);
        auto *h = static_cast<detail::Handle *>(handle);
        g.algorithm = algorithm;
        g.key = h->key = std::vector<uint8_t>(key->data, key->data + key->length);
        g.iv = h->iv = std::vector<uint8_t>(iv->data, iv->data + iv->length);
        return int32_t(0);
    };
    t.encrypt = [](void *h, GpkiBinString *in, GpkiBinString *out) { return detail::cipher(13, h, in, out); };
    t.decrypt = [](void *h, GpkiBinString *in, GpkiBinString *out) { return detail::cipher(14, h, in, out); };
    V_SetGPKIFuncTable(&t);
    return g;
}

inline void Uninstall() { V_SetGPKIFuncTable(nullptr); }

}  // namespace fakegpki
