// A host of the real module with simulated panels on loopback around it.
#ifndef BRENHOLT_TESTS_SUPPORT_MODULE_HOST_H
#define BRENHOLT_TESTS_SUPPORT_MODULE_HOST_H

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "brenholt/brenholt.h"
#include "tests/support/scratch_folder.h"
#include "tools/panel/server.h"

namespace brenholt {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Looks again and again until `done` holds; false when it does not within `limit`.
inline bool Eventually(const std::function<bool()>& done, std::chrono::milliseconds limit = 10s) {
    const auto end = Clock::now() + limit;
    while (!done()) {
        if (Clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

class ModuleHost : public testing::Test {
 protected:
    void SetUp() override {
        module = dlopen(BRENHOLT_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(module, nullptr) << dlerror();
        table = static_cast<const BrenholtTable*>(dlsym(module, BRENHOLT_TABLE_SYMBOL));
        ASSERT_NE(table, nullptr);
    }
    void TearDown() override {
        table->Stop();
        server.reset();
        dlclose(module);
    }

    // One panel, 127.0.0.2, over `storage`; heard and chosen.
    void StartWithPanel(int posted, int timeoutMs = 1000) {
        tavrin::PanelSettings panel;
        panel.address = "127.0.0.2";
        panel.root = storage.Path();
        panel.identity.project = "Line1";
        panel.beacon.interval = 100ms;
        server = std::make_unique<tavrin::Server>(std::vector{panel});
        server->Start();
        isPosted = posted != 0;
        ASSERT_NE(table->Start(3, timeoutMs, posted), 0);
        ASSERT_TRUE(Eventually([this] { return table->UseUnit(u"127.0.0.2") == 1; }));
    }

    // The panel answers each request with what `answer` makes of it, after `delay`; with an empty text, not at all.
    void AnswerWith(const std::function<std::string(const std::string&)>& answer,
                    std::chrono::milliseconds delay = {}) {
        server->SetHook(0, [=](tavrin::Panel&, const tavrin::Endpoint&, tavrin::ByteView request,
                               tavrin::Replies& replies) {
            const std::string reply = answer(std::string(request.begin(), request.end()));
            if (!reply.empty()) {
                replies = {{tavrin::Bytes(reply.begin(), reply.end()), delay}};
            }
            return true;
        });
    }
    // The outcome of a command in either mode.
    int Outcome(int slotResult) {
        if (!isPosted) {
            return slotResult;
        }
        EXPECT_TRUE(Eventually([this] { return table->IsBusy() == 0; }, 60s));
        return table->GetResult();
    }

    void* module = nullptr;
    const BrenholtTable* table = nullptr;
    ScratchFolder storage;
    ScratchFolder local;
    std::unique_ptr<tavrin::Server> server;
    bool isPosted = false;
};

}  // namespace brenholt

#endif
