// A host that is killed while a file takes the place of another.
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

#include "tests/support/link_fixture.h"
#include "tests/support/panel_replies.h"
#include "tests/support/scratch_folder.h"

namespace brenholt {
namespace {

TEST_F(LinkFixture, KilledFetchLeavesTheOldFileOrTheNewOne) {
    const ScratchFolder folder;
    const std::string texts[] = {std::string(1000, 'a'), std::string(900'000, 'b')};
    for (int round = 0; round < 40; ++round) {
        folder.Write("f", texts[0]);
        const pid_t child = fork();
        if (child == 0) {
            answer = [&](const std::string& request) {
                const size_t offset = std::stoul(request.substr(6, 8), nullptr, 16);
                const bool last = offset + 1363 >= texts[1].size();
                return Packet(last ? '0' : '+', texts[1].substr(offset, 1363));
            };
            link->CmdUP(u"f", folder.Text().c_str(), 0);
            _exit(0);
        }
        usleep(static_cast<useconds_t>(200 * round));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        const std::string found = folder.Read("f");
        EXPECT_TRUE(found == texts[0] || found == texts[1]) << found.size() << " bytes";
        EXPECT_LE(folder.Names().size(), 2U) << "one temporary file at most";
        for (const std::string& name : folder.Names()) {
            if (name.starts_with("TMP")) {
                std::filesystem::remove(folder.Path() + '/' + name);
            }
        }
    }
}

}  // namespace
}  // namespace brenholt
