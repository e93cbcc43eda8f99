/* A C program using the installed library as an application would: a digest through the
 * service layer, a SEED round trip and a random draw. It prints what a test can compare. */
#include <vorelcrypto/vorelcrypto.h>
#include <stdio.h>
#include <string.h>

int main(void) {
    LibContext ctx = {0};
    if (V_VCCInit(&ctx) != 0) return 1;

    uint8_t msg[] = "abc";
    DataBlob in = {3, msg}, digest = {0, NULL};
    if (V_GenHash(&ctx, V_HASH_SHA1, &in, &digest) != 0) return 2;
    for (uint32_t i = 0; i < digest.Length; i++) printf("%02x", digest.Data[i]);
    printf("\n");

    uint8_t key[16] = "0123456789abcde", iv[16] = {0};
    SymKeyRecord seed = {V_SYM_SEED, V_MODE_CBC, 16, key, 16, iv};
    DataBlob sealed = {0, NULL}, opened = {0, NULL};
    if (V_Encryption(&ctx, &seed, &in, &sealed) != 0 || V_Decryption(&ctx, &seed, &sealed, &opened) != 0)
        return 3;
    printf("seed %u %.*s\n", sealed.Length, (int)opened.Length, (const char *)opened.Data);

    uint8_t *random = NULL;
    if (V_GenRandom(&ctx, V_RANDOM_MD5, 16, &random) != 0) return 4;
    uint8_t zero[16] = {0};
    printf("random %s\n", memcmp(random, zero, 16) != 0 ? "drawn" : "zero");

    V_free(&ctx, digest.Data);
    V_free(&ctx, sealed.Data);
    V_free(&ctx, opened.Data);
    V_free(&ctx, random);
    V_VCCTerm(&ctx);
    return 0;
}
