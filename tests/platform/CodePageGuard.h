#pragma once
// Test helpers that set the process code page or environment variables for
// the length of a scope and put the previous state back afterwards.
#include <cstdlib>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "webstep/platform/CodePage.h"

namespace webstep::test {

class CodePageGuard {
public:
    explicit CodePageGuard(unsigned int codePage) { platform::SetProcessCodePage(codePage); }
    ~CodePageGuard() { platform::SetProcessCodePage(0); }
    CodePageGuard(const CodePageGuard&) = delete;
    CodePageGuard& operator=(const CodePageGuard&) = delete;
};

// A null value unsets the variable.
class EnvGuard {
public:
    EnvGuard(std::initializer_list<std::pair<const char*, const char*>> vars) {
        for (const auto& [name, value] : vars) {
            const char* old = std::getenv(name);
            m_saved.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
            if (value) {
                setenv(name, value, 1);
            } else {
                unsetenv(name);
            }
        }
        platform::SetProcessCodePage(0);
    }
    ~EnvGuard() {
        for (auto it = m_saved.rbegin(); it != m_saved.rend(); ++it) {
            if (it->second) {
                setenv(it->first.c_str(), it->second->c_str(), 1);
            } else {
                unsetenv(it->first.c_str());
            }
        }
        platform::SetProcessCodePage(0);
    }
    EnvGuard(const EnvGuard&) = delete;
    EnvGuard& operator=(const EnvGuard&) = delete;

private:
    std::vector<std::pair<std::string, std::optional<std::string>>> m_saved;
};

}  // namespace webstep::test
