// Life cycle of a LibContext: V_VCCInit makes it ready, V_VCCTerm takes it back to empty.
#include <vorelcrypto/common.h>
#include <vorelcrypto/frame.h>

extern "C" {

int32_t V_VCCInit(LibContext *ctx) {
    if (ctx == nullptr) return -1;
    if (ctx->state != nullptr) return 0;
    if (ctx->commonStarted == 0 && V_VCOInit(ctx) != 0) {
        // The state is still null, so this leaves the common part as V_VCOInit left it.
        V_VCCTerm(ctx);
        return -1;
    }
    auto *state = static_cast<CryptoState *>(V_calloc(ctx, 1, sizeof(CryptoState)));
    if (state == nullptr) {
        ctx->error = VC_ERR_ALLOC;
        V_VCCTerm(ctx);
        return -1;
    }
    state->owner = ctx;
    ctx->state = state;
    return 0;
}

void V_VCCTerm(LibContext *ctx) {
    // An empty context keeps its common part started: existing hosts rely on Init's failure
    // path not stopping it.
    if (ctx == nullptr || ctx->state == nullptr) return;
    if (ctx->commonStarted != 0) {
        V_VCOTerm(ctx);
        ctx->commonStarted = 0;
    }
    V_free(ctx, ctx->state);
    ctx->state = nullptr;
}

}  // extern "C"
