// SPDX-License-Identifier: MIT
#include "support/sha256.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
std::string digest(std::string const &text) { return sha256Hex(text.data(), text.size()); }

struct Vector
{
    char const *what;
    std::string text;
    char const *digest;
};

// The lengths are those where the padding turns: nothing, within a block, its last fitting length, one more, a whole block.
TEST(Sha256Test, Digest_OfKnownTexts_IsThePublishedOne)
{
    Vector const vectors[] = {
        {"empty", "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"3 bytes", "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"56 bytes", "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {"112 bytes",
         "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu",
         "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
        {"55 bytes", std::string(55, 'a'), "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
        {"64 bytes", std::string(64, 'a'), "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
        {"a million", std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    for (Vector const &vector : vectors)
        EXPECT_EQ(digest(vector.text), vector.digest) << vector.what;
}
} // namespace
