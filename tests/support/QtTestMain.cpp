#include <gtest/gtest.h>

#include <QCoreApplication>

#include <fstream>
#include <sched.h>
#include <string>
#include <unistd.h>

namespace {

// Tests mount disks of their own, for which whoever is not root becomes it in a namespace.
void becomeRoot() {
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (user != "0" && unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " + user + " 1";
        std::ofstream("/proc/self/gid_map") << "0 " + group + " 1";
    }
}

} // namespace

int main(int argc, char** argv) {
    becomeRoot();
    qputenv("LC_ALL", "C.UTF-8"); // what the system says is compared
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
