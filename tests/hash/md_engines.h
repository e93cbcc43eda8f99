// The MD-family engines (MD2, MD4, MD5, RIPEMD-160, HAS-160) behind one shape, so that vector
// tables and differential loops can run over all of them, plus their oracles.
#pragma once

#include "hash/md5.h"
#include "support/test_util.h"

#include <vorelcrypto/hash.h>

#include <string>
#include <vector>

namespace mdtest {

using vctest::Bytes;

struct Engine {
    std::string name;
    size_t digestLength;
    Bytes (*oneShot)(const uint8_t *data, uint32_t length);
    // Init, one Update per piece (the sizes add up to the whole input), Final.
    Bytes (*pieces)(const uint8_t *data, const std::vector<uint32_t> &sizes);
    // An independent implementation, or nullptr when there is none.
    Bytes (*oracle)(const uint8_t *data, size_t length);
};

const Engine &engine(const std::string &name);        // "md2", "md4", "md5", "ripemd160", "has160"
const std::vector<const Engine *> &oracleEngines();  // the engines with an oracle

// Random cut of `length` into pieces, zero-length pieces included.
std::vector<uint32_t> randomPieces(vctest::Rng &rng, uint32_t length);

}  // namespace mdtest

namespace mdtest {

// `text` repeated `repeat` times.
Bytes repeated(std::string_view text, size_t repeat);

// Expects the digest of `message` fed in one call, byte by byte and in three uneven pieces.
void expectDigest(const Engine &e, const Bytes &message, const std::string &hex);

// A published vector: the engine's digest of `text` repeated `repeat` times.
struct Vector {
    const char *engine, *text;
    size_t repeat;
    const char *digest;
};

template <size_t N>
void expectVectors(const Vector (&vectors)[N]) {
    for (const Vector &v : vectors)
        expectDigest(engine(v.engine), repeated(v.text, v.repeat), v.digest);
}

}  // namespace mdtest
