// Generators shared by threads and inherited by child processes, and the provider's error per
// thread.
#include "random/random_internal.h"

#include <vorelcrypto/csp.h>
#include <vorelcrypto/random.h>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace vr = vc::random;
using Bytes = std::vector<uint8_t>;
using Draw = void (*)(uint8_t *, uint32_t);
using Restore = std::function<void()>;

// Returns a function that puts the state back as it is now.
template <typename State>
Restore keep(State &state) {
    return [&state, copy = state] { state = copy; };
}

// Every generator with a state of its own, drawing into a zeroed buffer (the pools read it).
const struct {
    const char *name;
    Draw draw;
    Restore (*snapshot)();
} kGenerators[] = {
    {"RAND_Bytes", [](uint8_t *o, uint32_t n) { RAND_Bytes(o, int32_t(n)); },
     [] { return keep(vr::entropyPool()); }},
    {"E_GenerateRandom_RSA", [](uint8_t *o, uint32_t n) { E_GenerateRandom_RSA(o, int32_t(n)); },
     [] { return keep(vr::rsaPool()); }},
    {"E_GenerateRandom_DES", E_GenerateRandom_DES, [] { return keep(vr::desState()); }},
    {"E_GenerateRandom_MD5", E_GenerateRandom_MD5, [] { return keep(vr::chainState()); }},
};

Bytes draw(Draw fn, uint32_t n) {
    Bytes b(n, 0);
    fn(b.data(), n);
    return b;
}

// A child after fork() must not repeat its parent's stream: the child writes its next draw from
// every generator into a pipe, and the parent's next draws differ from all of them.
TEST(Fork, ChildDrawsDifferFromParent) {
    constexpr uint32_t kLen = 32;
    for (const auto &g : kGenerators) draw(g.draw, kLen);  // seeded before the fork
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        close(fds[0]);
        for (const auto &g : kGenerators) {
            const Bytes b = draw(g.draw, kLen);
            if (write(fds[1], b.data(), kLen) != ssize_t(kLen)) _exit(1);
        }
        _exit(0);
    }
    close(fds[1]);
    Bytes child(kLen * std::size(kGenerators));
    size_t got = 0;
    for (ssize_t r; got < child.size() && (r = read(fds[0], child.data() + got, child.size() - got)) > 0;)
        got += size_t(r);
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    ASSERT_EQ(got, child.size());
    for (size_t i = 0; i < std::size(kGenerators); i++) {
        const Bytes parent = draw(kGenerators[i].draw, kLen);
        EXPECT_NE(parent, Bytes(child.begin() + long(i * kLen), child.begin() + long((i + 1) * kLen)))
            << kGenerators[i].name;
    }
}

// Threads drawing from one generator at once neither corrupt nor repeat its stream: each draw
// is whole, so the blocks drawn are exactly the first blocks of the same stream drawn by one
// thread from the same state, all distinct.
TEST(Threads, ConcurrentDrawsAreTheSerialStream) {
    constexpr int kThreads = 4, kDraws = 1500;
    for (const auto &g : kGenerators) {
        draw(g.draw, 16);  // seeded
        const Restore restore = g.snapshot();
        std::vector<std::string> blocks(kThreads * kDraws);
        std::vector<std::thread> threads;
        std::atomic<int> ready{0};
        for (int t = 0; t < kThreads; t++)
            threads.emplace_back([&blocks, &ready, fn = g.draw, t] {
                ready++;
                while (ready.load() < kThreads) std::this_thread::yield();  // start together
                for (int i = 0; i < kDraws; i++) {
                    const Bytes b = draw(fn, 16);
                    blocks[size_t(t * kDraws + i)].assign(b.begin(), b.end());
                }
            });
        for (std::thread &t : threads) t.join();
        restore();
        std::vector<std::string> serial;
        for (size_t i = 0; i < blocks.size(); i++) {
            const Bytes b = draw(g.draw, 16);
            serial.emplace_back(b.begin(), b.end());
        }
        std::sort(blocks.begin(), blocks.end());
        std::sort(serial.begin(), serial.end());
        EXPECT_TRUE(blocks == serial) << g.name;
        EXPECT_EQ(std::set<std::string>(blocks.begin(), blocks.end()).size(), blocks.size()) << g.name;
    }
}

// GetError tells the calling thread's last failure: another thread's failure leaves it alone.
TEST(Threads, ProviderErrorIsPerThread) {
    CspContextRecord record{};
    record.contextClass = 3;  // not a digest record
    record.algorithm = 8;
    ASSERT_EQ(CSP_DigestDataInit(100, nullptr, nullptr), -1);
    ASSERT_EQ(GetError(), uint32_t(CSP_ERR_NO_CONTEXT));
    uint32_t other = 0;
    std::thread([&] {
        EXPECT_EQ(CSP_DigestDataInit(100, &record, nullptr), -1);
        other = GetError();
    }).join();
    EXPECT_EQ(other, uint32_t(CSP_ERR_CLASS));
    EXPECT_EQ(GetError(), uint32_t(CSP_ERR_NO_CONTEXT));
}

}  // namespace
