/* Hashes "abc" through the installed library's service layer. */
#include <vorelcrypto/vorelcrypto.h>
#include <stdio.h>

int main(void) {
    LibContext ctx = {0};
    uint8_t msg[] = "abc";
    DataBlob in = {3, msg}, out = {0, NULL};
    if (V_VCCInit(&ctx) != 0 || V_GenHash(&ctx, V_HASH_SHA1, &in, &out) != 0) return 1;
    for (uint32_t i = 0; i < out.Length; i++) printf("%02x", out.Data[i]);
    printf("\n");
    V_free(&ctx, out.Data);
    V_VCCTerm(&ctx);
    return 0;
}
