#include "webstep/script/PasswordDecryption.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace {

std::atomic<PasswordDecryptRoutine> g_routine{nullptr};

const char kPrefix[] = "qz_decrypt";
const size_t kPrefixLength = sizeof(kPrefix) - 1;

}  // namespace

PasswordDecryptRoutine SetPasswordDecryptRoutine(PasswordDecryptRoutine routine) {
    return g_routine.exchange(routine);
}

PasswordDecryptRoutine GetPasswordDecryptRoutine() {
    return g_routine.load();
}

MString UnwrapPasswordArgument(const MString& argument) {
    if (argument.compare(0, kPrefixLength, kPrefix) != 0)
        return argument;
    // "qz_decrypt" must be followed by an opening parenthesis and a double
    // quote, and the text must have its closing quote; a form that breaks
    // any of these is kept as written rather than guessed at.
    size_t at = kPrefixLength;
    if (at >= argument.size() || argument[at] != '(')
        return argument;
    ++at;
    if (at >= argument.size() || argument[at] != '"')
        return argument;
    ++at;
    const size_t close = argument.find('"', at);
    if (close == MString::npos)
        return argument;
    // Whatever follows the closing quote (the parenthesis) is ignored.
    const MString encrypted = argument.substr(at, close - at);
    PasswordDecryptRoutine routine = g_routine.load();
    if (routine == nullptr)
        return MString();
    char* plain = routine(encrypted.c_str());
    if (plain == nullptr)
        return MString();
    MString result(plain);
    std::free(plain);
    return result;
}
