#pragma once

#include "Disturbance.h"
#include "support/Basics.h"

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessivo::benchmark {

// The file through which a program is disturbed.
class Disturber {
public:
    Disturber() {
        const std::string path = (folder_ / "disturbance").string();
        std::ofstream(path).flush();
        orders_ = Disturbance::map(path.c_str());
        if (orders_ == nullptr) {
            throw std::runtime_error("no file to disturb by");
        }
        wrapper_ = {"env", "LD_PRELOAD=" TESSIVO_DISTURBER,
                    std::string(Disturbance::kVariable) + "=" + path};
    }

    const std::vector<std::string>& wrapper() const { return wrapper_; }
    Disturbance& orders() { return *orders_; }

private:
    test::TemporaryFolder folder_;
    Disturbance* orders_ = nullptr;
    std::vector<std::string> wrapper_;
};

} // namespace tessivo::benchmark
