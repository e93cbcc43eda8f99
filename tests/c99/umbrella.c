/* The umbrella header compiles as strict C99. */
#include <vorelcrypto/vorelcrypto.h>

int vc_umbrella_check(void) {
    LibContext ctx = {0};
    return V_VCCInit(&ctx) == 0 ? 0 : 1;
}
