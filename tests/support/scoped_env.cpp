#include "support/scoped_env.h"

#include <cstdlib>

namespace kelvane::test {

ScopedEnv::ScopedEnv(std::string name, const std::string& value) : name_(std::move(name)) {
    if (const char* old = std::getenv(name_.c_str())) {
        had_ = true;
        old_ = old;
    }
    ::setenv(name_.c_str(), value.c_str(), 1);
}

ScopedEnv::~ScopedEnv() {
    had_ ? ::setenv(name_.c_str(), old_.c_str(), 1) : ::unsetenv(name_.c_str());
}

}  // namespace kelvane::test
