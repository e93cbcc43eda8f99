#include "fake_gpki.h"

#include <cstdio>
#include <map>
#include <memory>

#include "cipher_oracle.h"

namespace fakegpki {

namespace {

Module g;
struct Handle {
    std::vector<uint8_t> key, iv;
};

// The module owns what it hands out, so that sessions a caller abandons are reclaimed.
struct Object {
    std::unique_ptr<GpkiBinString> s;
    std::vector<uint8_t> bytes;
};
std::map<GpkiBinString *, Object> objects;
std::map<void *, std::unique_ptr<Handle>> handles;

void assign(GpkiBinString *object, const uint8_t *data, size_t length) {
    std::vector<uint8_t> &bytes = objects.at(object).bytes;
    bytes.assign(data, data + length);
    bytes.reserve(length + 1);
    *object = GpkiBinString{uint32_t(length), bytes.data()};
}

void reset() {
    g = Module{};
    objects.clear();
    handles.clear();
}

int32_t cipher(int slot, void *handle, GpkiBinString *in, GpkiBinString *out) {
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

}  // namespace

Module &Install() {
    static int marker;
    reset();
    GpkiFunctionTable t{};
    t.present = &marker;
    t.open = [](void **h, char *work) {
        g.slots.push_back(1);
        g.workString = work;
        auto handle = std::make_unique<Handle>();
        *h = handle.get();
        handles[*h] = std::move(handle);
        return int32_t(0);
    };
    t.close = [](void **h) {
        g.slots.push_back(2);
        handles.erase(*h);
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
        auto object = std::make_unique<GpkiBinString>(GpkiBinString{0, nullptr});
        *o = object.get();
        objects[*o] = Object{std::move(object), {}};
        return int32_t(0);
    };
    t.deleteBinString = [](GpkiBinString **o) {
        g.slots.push_back(5);
        objects.erase(*o);
        return int32_t(0);
    };
    t.setBinString = [](const uint8_t *data, uint32_t length, GpkiBinString **o) {
        g.slots.push_back(6);
        assign(*o, data, length);
        return int32_t(0);
    };
    t.symStart = [](void *handle, int32_t algorithm, GpkiBinString *key, GpkiBinString *iv) {
        g.slots.push_back(12);
        if (g.failSlot == 12) return int32_t(kFailure);
        auto *h = static_cast<Handle *>(handle);
        g.algorithm = algorithm;
        g.key = h->key = std::vector<uint8_t>(key->data, key->data + key->length);
        g.iv = h->iv = std::vector<uint8_t>(iv->data, iv->data + iv->length);
        return int32_t(0);
    };
    t.encrypt = [](void *h, GpkiBinString *in, GpkiBinString *out) { return cipher(13, h, in, out); };
    t.decrypt = [](void *h, GpkiBinString *in, GpkiBinString *out) { return cipher(14, h, in, out); };
    V_SetGPKIFuncTable(&t);
    return g;
}

void Uninstall() {
    V_SetGPKIFuncTable(nullptr);
    reset();
}

}  // namespace fakegpki
