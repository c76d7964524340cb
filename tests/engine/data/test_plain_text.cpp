// SPDX-License-Identifier: MIT
#include "engine/data/plain_text.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

static std::string Plain(const std::string& text)
{
    std::string plain(PlainTextSize(text.size()), '?');
    const size_t length = FormatPlainText(text.c_str(), plain.data(), plain.size());
    EXPECT_EQ(strlen(plain.c_str()), length);
    return plain.substr(0, length);
}

TEST(PlainText, PrintableTextStaysAsItIs)
{
    const std::string ascii = " !\"#azAZ09~\\";
    EXPECT_EQ(Plain(ascii), ascii);
    // The least and the largest character of two, three and four bytes.
    const std::string wide =
        "\xC2\xA0 \xDF\xBF \xE0\xA0\x80 \xED\x9F\xBF \xEE\x80\x80 \xEF\xBF\xBF "
        "\xF0\x90\x80\x80 \xF4\x8F\xBF\xBF";
    EXPECT_EQ(Plain(wide), wide);
    EXPECT_EQ(Plain(""), "");
}

TEST(PlainText, ControlCharactersBecomeNumbers)
{
    EXPECT_EQ(Plain("\x01\t\n\r\x1B\x1F\x7F"), "\\x01\\x09\\x0A\\x0D\\x1B\\x1F\\x7F");
    EXPECT_EQ(Plain("\xC2\x80\xC2\x9B\xC2\x9F"), "\\xC2\\x80\\xC2\\x9B\\xC2\\x9F");
}

TEST(PlainText, BytesThatAreNoUtf8BecomeNumbers)
{
    EXPECT_EQ(Plain("\x80 \xBF \xFF"), "\\x80 \\xBF \\xFF");
    EXPECT_EQ(Plain("\xC0\xAF"), "\\xC0\\xAF");                   // too long a form of a slash
    EXPECT_EQ(Plain("\xE0\x9F\xBF"), "\\xE0\\x9F\\xBF");          // too long a form
    EXPECT_EQ(Plain("\xED\xA0\x80"), "\\xED\\xA0\\x80");          // a surrogate
    EXPECT_EQ(Plain("\xF4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80"); // past the last character
    EXPECT_EQ(Plain("\xC3"), "\\xC3");                            // each of these breaks off
    EXPECT_EQ(Plain("\xE2\x82"), "\\xE2\\x82");
    EXPECT_EQ(Plain("\xF0\x9F\x98"), "\\xF0\\x9F\\x98");
    EXPECT_EQ(Plain("\xE2\x82z\xC3\xA4"), "\\xE2\\x82z\xC3\xA4");
}

TEST(PlainText, IsCutToTheRoomThereIs)
{
    char plain[6] = "?????";
    EXPECT_EQ(FormatPlainText("ab\ncd", plain, sizeof(plain)), 8u);
    EXPECT_STREQ(plain, "ab\\x0");
    EXPECT_EQ(FormatPlainText("abc", plain, 0), 3u);
    EXPECT_STREQ(plain, "ab\\x0");
}
