#pragma once

#include <string>

namespace kelvane {

// Japanese sentences for the errors a deletion or a tool run can meet. Our
// own table rather than strerror: the C library speaks the process locale,
// which is English under C/POSIX and whatever pkexec passed on as root.
namespace ErrorText {

// What the POSIX error `errnum` means for the item that met it.
std::string posix(int errnum);

// What one of FileError's refusal codes means.
std::string refusal(int code);

}  // namespace ErrorText
}  // namespace kelvane
