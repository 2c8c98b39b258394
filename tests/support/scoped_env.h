#pragma once

#include <string>

namespace kelvane::test {

// Sets an environment variable until the object goes away.
class ScopedEnv {
  public:
    ScopedEnv(std::string name, const std::string& value);
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;
    ~ScopedEnv();

  private:
    std::string name_;
    bool had_ = false;
    std::string old_;
};

}  // namespace kelvane::test
