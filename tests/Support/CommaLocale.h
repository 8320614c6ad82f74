#pragma once

#include <clocale>
#include <iostream>
#include <locale>
#include <string>

namespace Tarsel::Test {

/// While it lives, the process has a decimal comma and groups its digits, as in Germany, whether or not such
/// a locale is installed.
class CommaLocale {
public:
    CommaLocale() { std::setlocale(LC_ALL, "de_DE.UTF-8"); }
    CommaLocale(CommaLocale const&) = delete;
    CommaLocale& operator=(CommaLocale const&) = delete;
    ~CommaLocale() {
        std::cout.imbue(m_ofOutput);
        std::locale::global(m_before); // of the C library too
    }

private:
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };

    std::locale const m_comma{std::locale::classic(), new Comma};
    std::locale const m_before = std::locale::global(m_comma);
    std::locale const m_ofOutput = std::cout.imbue(m_comma);
};

} // namespace Tarsel::Test
