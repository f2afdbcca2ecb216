// The "C" locale as an object, for the C library calls that would otherwise follow
// whatever locale the host process has set.
#pragma once

#include <clocale>
#include <locale.h>

inline locale_t LumCLocale()
{
    static locale_t s_locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return s_locale;
}
