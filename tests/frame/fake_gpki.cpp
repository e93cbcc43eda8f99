#include "fake_gpki.h"

#include <openssl/evp.h>

#include <cstdio>
#include <cstring>

#include "support/test_util.h"

namespace fakegpki {

namespace {

Module g_module;
int g_marker;

struct Handle {
    std::vector<uint8_t> key, iv;
};

void record(int slot) { g_module.slots.push_back(slot); }

int32_t open(void **handle, char *work) {
    record(1);
    g_module.workString = work;
    *handle = new Handle;
    ++g_module.liveHandles;
    return 0;
}

int32_t close(void **handle) {
    record(2);
    delete static_cast<Handle *>(*handle);
    *handle = nullptr;
    --g_module.liveHandles;
    return 0;
}

int32_t errorText(void *, int32_t size, char *text) {
    record(3);
    if (g_module.declineErrorText) return 7;
    std::snprintf(text, size_t(size), "%s", kErrorText);
    return 0;
}

int32_t newBinString(GpkiBinString **object) {
    record(4);
    *object = new GpkiBinString{0, nullptr};
    ++g_module.liveObjects;
    return 0;
}

int32_t deleteBinString(GpkiBinString **object) {
    record(5);
    delete[] (*object)->data;
    delete *object;
    *object = nullptr;
    --g_module.liveObjects;
    return 0;
}

void assign(GpkiBinString *object, const uint8_t *data, size_t length) {
    delete[] object->data;
    object->data = new uint8_t[length + 1];
    if (length) std::memcpy(object->data, data, length);
    object->length = uint32_t(length);
}

int32_t setBinString(const uint8_t *data, uint32_t length, GpkiBinString **object) {
    record(6);
    assign(*object, data, length);
    return 0;
}

int32_t symStart(void *handle, int32_t algorithm, GpkiBinString *key, GpkiBinString *iv) {
    record(12);
    if (g_module.failSlot == 12) return kFailure;
    g_module.algorithm = algorithm;
    auto *h = static_cast<Handle *>(handle);
    h->key.assign(key->data, key->data + key->length);
    h->iv.assign(iv->data, iv->data + iv->length);
    g_module.key = h->key;
    g_module.iv = h->iv;
    return 0;
}

int32_t seedCbc(void *handle, GpkiBinString *in, GpkiBinString *out, bool encrypt) {
    auto *h = static_cast<Handle *>(handle);
    if (h->key.size() != 16 || h->iv.size() != 16) return 11;
    vctest::loadOpenSslLegacy();
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, "SEED-CBC", nullptr);
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    std::vector<uint8_t> buffer(in->length + 32);
    int n = 0, m = 0;
    const bool ok =
        cipher && EVP_CipherInit_ex2(ctx, cipher, h->key.data(), h->iv.data(), encrypt, nullptr) &&
        EVP_CipherUpdate(ctx, buffer.data(), &n, in->data, int(in->length)) &&
        EVP_CipherFinal_ex(ctx, buffer.data() + n, &m);
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
    if (!ok) return 12;
    assign(out, buffer.data(), size_t(n + m));
    return 0;
}

int32_t encrypt(void *handle, GpkiBinString *in, GpkiBinString *out) {
    record(13);
    return g_module.failSlot == 13 ? kFailure : seedCbc(handle, in, out, true);
}

int32_t decrypt(void *handle, GpkiBinString *in, GpkiBinString *out) {
    record(14);
    return g_module.failSlot == 14 ? kFailure : seedCbc(handle, in, out, false);
}

}  // namespace

Module &Install() {
    g_module = Module{};
    GpkiFunctionTable table{};
    table.present = &g_marker;
    table.open = open;
    table.close = close;
    table.errorText = errorText;
    table.newBinString = newBinString;
    table.deleteBinString = deleteBinString;
    table.setBinString = setBinString;
    table.symStart = symStart;
    table.encrypt = encrypt;
    table.decrypt = decrypt;
    V_SetGPKIFuncTable(&table);
    return g_module;
}

void Uninstall() { V_SetGPKIFuncTable(nullptr); }

}  // namespace fakegpki
