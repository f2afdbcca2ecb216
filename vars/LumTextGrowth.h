// The room a text built by `+` gets, and appending to a variable's text in place.
//
// A text of 256 bytes or more gets the room of its length's class (256, 384, 512,
// 768, ...), whichever way it was built: by a fresh concatenation or by appending to
// the variable in place. So a program's bytes, which its memory budget counts, are
// the same whether an assignment `s$ = s$ + x` copied or appended, and appending
// copies the text only when it leaves its class: linear time for a text built piece
// by piece.
#pragma once

#include <lumbasic/LumsVarValue.h>

#include <cstddef>
#include <string_view>

// Below this a text gets exactly its length, as the small texts of a store should.
constexpr size_t LUM_TEXT_CLASSES_FROM = 256;

// The room for a text of `n` bytes: `n` itself below the classes, else the smallest
// class at or above it.
inline size_t LumTextRoom(size_t n)
{
    if (n < LUM_TEXT_CLASSES_FROM)
        return n;
    size_t nPower = LUM_TEXT_CLASSES_FROM;
    while (nPower * 2 <= n)
        nPower *= 2;
    if (n == nPower)
        return n;
    return n <= nPower + nPower / 2 ? nPower + nPower / 2 : nPower * 2;
}

// Appends the parts to `text` with the room a fresh concatenation of the same length
// would get: in place where it has that room already, else by a copy into it.
void LumAppendTexts(LumText& text, const std::string_view* pParts, size_t nParts);
