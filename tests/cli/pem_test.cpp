// The PEM armour of genkey and sign/verify's key reader, against OpenSSL's PEM writer and reader.
#include "pk_algorithms.h"
#include "support/test_util.h"

#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/pem.h>

#include <fstream>
#include <iterator>

namespace {

using vctest::Bytes;

std::string opensslPem(const char *label, const Bytes &der) {
    BIO *bio = BIO_new(BIO_s_mem());
    EXPECT_GT(PEM_write_bio(bio, label, "", der.data(), long(der.size())), 0);
    char *text = nullptr;
    const long n = BIO_get_mem_data(bio, &text);
    std::string pem(text, size_t(n));
    BIO_free(bio);
    return pem;
}

// OpenSSL's reading of PEM text: the label and the decoded body, or false.
bool opensslRead(const std::string &pem, std::string &label, Bytes &der) {
    BIO *bio = BIO_new_mem_buf(pem.data(), int(pem.size()));
    char *name = nullptr, *header = nullptr;
    unsigned char *data = nullptr;
    long len = 0;
    const bool ok = PEM_read_bio(bio, &name, &header, &data, &len) == 1;
    if (ok) {
        label = name;
        der.assign(data, data + len);
    }
    OPENSSL_free(name);
    OPENSSL_free(header);
    OPENSSL_free(data);
    BIO_free(bio);
    return ok;
}

Bytes readAll(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

// Lengths around the 48 bytes of a 64-character line and the three padding cases.
TEST(Pem, WritesWhatOpenSslWritesAndReadsItBack) {
    const std::string path = ::testing::TempDir() + "vc_pem_test.key";
    vctest::Rng rng;
    for (size_t n : {1, 2, 3, 4, 47, 48, 49, 50, 95, 96, 97, 1217}) {
        SCOPED_TRACE(n);
        const Bytes der = rng.bytes(n);
        const cli::Options pem({"-o", path, "--pem"}, {"-o"}, {"--pem"});
        ASSERT_EQ(cli::writeKeyOutput(pem, der, "EC PRIVATE KEY"), cli::kOk);
        const Bytes file = readAll(path);
        const std::string text(file.begin(), file.end());
        EXPECT_EQ(text, opensslPem("EC PRIVATE KEY", der));

        Bytes back;
        std::string label;
        ASSERT_TRUE(cli::readKeyBytes(file, back, label));
        EXPECT_EQ(back, der);
        EXPECT_EQ(label, "EC PRIVATE KEY");
        // OpenSSL's text, with its own line breaks, reads back too.
        ASSERT_TRUE(cli::readKeyBytes(vctest::bytesOf(opensslPem("PUBLIC KEY", der)), back, label));
        EXPECT_EQ(back, der);
        EXPECT_EQ(label, "PUBLIC KEY");

        const cli::Options raw({"-o", path}, {"-o"}, {"--pem"});
        ASSERT_EQ(cli::writeKeyOutput(raw, der, "EC PRIVATE KEY"), cli::kOk);
        EXPECT_EQ(readAll(path), der);
    }
    std::remove(path.c_str());
}

// DER without armour passes through; malformed armour is refused wherever OpenSSL refuses it.
TEST(Pem, RefusesMalformedArmour) {
    const std::string body = "MIIBCgKCAQEAq83vEjQ=";  // 14 bytes
    struct Case {
        std::string text;
        bool ok;
    } cases[] = {
        {"-----BEGIN K-----\n" + body + "\n-----END K-----\n", true},
        {"-----BEGIN K-----\r\n" + body + "\r\n-----END K-----\r\n", true},
        {"-----BEGIN K-----\n" + body + "\n", false},                      // no END line
        {"-----BEGIN K-----\n" + body + "\n-----END L-----\n", false},    // END of another label
        {"-----BEGIN K-----\n" + body.substr(0, 19) + "\n-----END K-----\n", false},  // 3 of 4
        {"-----BEGIN K-----\nMIIB=CgK\n-----END K-----\n", false},        // padding inside
        {"-----BEGIN K-----\nMIIBCg==K\n-----END K-----\n", false},       // data after padding
        {"-----BEGIN K-----\nMIIBC===\n-----END K-----\n", false},        // one symbol in a group
        {"-----BEGIN K-----\nMIIB*gKC\n-----END K-----\n", false},        // not base64
        {"-----BEGIN K", false},                                           // label never closed
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        Bytes der, ours;
        std::string label, ourLabel;
        EXPECT_EQ(cli::readKeyBytes(vctest::bytesOf(c.text), ours, ourLabel), c.ok);
        ASSERT_EQ(opensslRead(c.text, label, der), c.ok);
        if (c.ok) {
            EXPECT_EQ(ours, der);
            EXPECT_EQ(ourLabel, label);
        }
    }
    const Bytes der = {0x30, 0x03, 0x02, 0x01, 0x05};
    Bytes out;
    std::string label = "stale";
    ASSERT_TRUE(cli::readKeyBytes(der, out, label));
    EXPECT_EQ(out, der);
    EXPECT_EQ(label, "");
}

}  // namespace
