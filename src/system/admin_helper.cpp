#include "system/admin_helper.h"

#include <unistd.h>

#include <array>
#include <climits>

#include "core/path_text.h"
#include "system/shell.h"

namespace kelvane {
namespace {

constexpr const char* kHelperName = "kelvane-admin";
// pkexec's statuses: the dialog was dismissed; authorisation failed or
// could not be asked for.
constexpr int kPkexecDismissed = 126;
constexpr int kPkexecRefused = 127;

}  // namespace

AdminHelper::Run AdminHelper::run(const std::string& elevator, const std::string& helper,
                                  const std::vector<std::string>& arguments,
                                  const std::string& input) {
    Run run;
    if (!elevator.empty() && ::access(elevator.c_str(), X_OK) != 0) {
        run.elevationMissing = true;
        run.result = {-1, "", "管理者権限を得るためのプログラム (pkexec) がありません"};
        return run;
    }
    if (::access(helper.c_str(), X_OK) != 0) {
        run.result = {-1, "",
                      "管理者権限で実行する補助プログラム (kelvane-admin) が見つかりません"};
        return run;
    }
    std::vector<std::string> args = arguments;
    if (!elevator.empty()) args.insert(args.begin(), helper);
    run.result = Shell::runWithInput(elevator.empty() ? helper : elevator, args, input);
    if (!elevator.empty()) {
        if (run.result.status == kPkexecDismissed) {
            run.result.err = "認証が取り消されました (-128)";
        } else if (run.result.status == kPkexecRefused) {
            // pkexec says this in English: no authentication agent, or not
            // authorised.
            run.result.err =
                "管理者の認証を行えませんでした "
                "(認証エージェントが動いていないか、許可されていません)";
        }
    }
    return run;
}

std::string AdminHelper::path() {
    // A build tree has the helper beside the app; an installed app finds it
    // where the package put it (the path its polkit actions name).
    std::array<char, PATH_MAX> self{};
    const ssize_t n = ::readlink("/proc/self/exe", self.data(), self.size() - 1);
    if (n > 0) {
        const std::string sibling = PathText::join(
            PathText::parent(std::string(self.data(), static_cast<std::size_t>(n))), kHelperName);
        if (::access(sibling.c_str(), X_OK) == 0) return sibling;
    }
    return KELVANE_ADMIN_HELPER;
}

}  // namespace kelvane
