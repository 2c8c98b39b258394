#pragma once

#include <string>

namespace kelvane {

// The user's home folder as a login shell would see it.
namespace HomeFolder {

// $HOME when it is an absolute path, else the password database entry of the
// real user, else "/"; never with a trailing slash. Read afresh on each call.
std::string find();

}  // namespace HomeFolder
}  // namespace kelvane
