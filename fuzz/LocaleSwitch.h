// Switching the process between the C locale and a decimal-comma locale, for
// the targets that compare what a host under either locale gets.
#ifndef KVPROJ_FUZZ_LOCALESWITCH_H
#define KVPROJ_FUZZ_LOCALESWITCH_H

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kvfuzz {

// The name of an installed decimal-comma locale; the run stops when there is
// none, since the comparison would then prove nothing.
inline const char* CommaLocaleName() {
    static const char* name = [] {
        for (const char* n : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"})
            if (std::setlocale(LC_NUMERIC, n) &&
                std::strcmp(std::localeconv()->decimal_point, ",") == 0) {
                std::setlocale(LC_NUMERIC, "C");
                return n;
            }
        std::fprintf(stderr, "no decimal-comma locale installed (locale-gen de_DE.UTF-8)\n");
        std::abort();
    }();
    return name;
}

// Runs fn() under the C locale and under the decimal-comma locale.
template <typename Fn> void UnderBothLocales(Fn&& fn) {
    std::setlocale(LC_NUMERIC, "C");
    fn(false);
    std::setlocale(LC_NUMERIC, CommaLocaleName());
    fn(true);
    std::setlocale(LC_NUMERIC, "C");
}

} // namespace kvfuzz

#endif
