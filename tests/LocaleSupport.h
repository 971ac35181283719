// A decimal-comma numeric locale for the length of a scope, as a host under a
// German or French locale runs the library.
#ifndef KVPROJ_TESTS_LOCALESUPPORT_H
#define KVPROJ_TESTS_LOCALESUPPORT_H

#include <clocale>
#include <cstring>
#include <initializer_list>

namespace kvtest {

class CommaLocale {
public:
    CommaLocale() {
        for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"})
            if (std::setlocale(LC_NUMERIC, name) &&
                std::strcmp(std::localeconv()->decimal_point, ",") == 0) {
                m_active = true;
                return;
            }
        std::setlocale(LC_NUMERIC, "C");
    }
    ~CommaLocale() { std::setlocale(LC_NUMERIC, "C"); }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    // False when no decimal-comma locale is installed (the test then skips).
    bool Active() const { return m_active; }

private:
    bool m_active = false;
};

} // namespace kvtest

// Skips the current test when no decimal-comma locale is installed.
#define KVTEST_REQUIRE_COMMA_LOCALE(scope)                                                         \
    if (!(scope).Active()) GTEST_SKIP() << "no locale with a decimal comma installed"

#endif
