// Scrambled log files as plain text: cut ones, which the model of logs leaves out, and JSON.
#include "tools/orvocap/log.h"

#include <gtest/gtest.h>

#include <string>

#include "ScreenCapture/log/sym_encrypt.h"

namespace {

const std::string kFirst = "[2021-03-04 05:06:07][1][notice][unnamed thread:4711][SC:12]: first \xFF\xE4\xB8\xAD";
const std::string kTwoClocks = "[2021-03-04 05:06:07][2020-01-01 01:01:01][2][error ][a:1][SC:1]: two clocks";

std::string scrambled(const std::string& line) {
    orvo::strutf8 text;
    text.assign(line.data(), static_cast<unsigned>(line.size()));
    orvo::strutf8 result = ORVO::ScreenCapture::sym_encrypt(text);
    return {result.c_str(), line.size()};
}

std::string decoded(const std::string& file, size_t chunk) {
    std::string all;
    orvocap::LogLines lines([&](const std::string& text) { all += text; });
    for (size_t i = 0; i < file.size(); i += chunk) lines.feed(file.data() + i, std::min(chunk, file.size() - i));
    lines.finish();
    return all;
}

TEST(LogLines, ReadsFilesThatWereCutAnywhere) {
    const std::string file = scrambled(kFirst) + "\n" + scrambled(kTwoClocks) + "\n";
    const std::string plain = kFirst + "\n" + kTwoClocks + "\n";
    const size_t second = kFirst.size() + 1;
    // A few bytes of a cut line do not tell how they were scrambled; they may read wrong, other lines may not.
    for (size_t cut = 1; cut < file.size(); ++cut) {
        const bool few_left = (cut > second ? cut - second : cut) < 5 && cut != second;
        const std::string end = plain[cut - 1] == '\n' ? "" : "\n";
        if (!few_left) {
            EXPECT_EQ(decoded(file.substr(0, cut), 64), plain.substr(0, cut) + end) << cut;
        }
        const bool few_to_come = (cut < second ? second : plain.size()) - cut < 13 && cut != second;
        if (!few_to_come) {
            EXPECT_EQ(decoded(file.substr(cut), 64), plain.substr(cut)) << cut;
        }
    }
}

TEST(LogLines, FindsALineBehindAPieceOfAnother) {
    for (size_t kept = 30; kept < 36; ++kept) {
        const std::string file = scrambled(kFirst).substr(0, kept) + scrambled(kTwoClocks) + "\n";
        const std::string joint = kept % 3 == 0 ? "" : "\n";  // in step, it reads right by itself
        EXPECT_EQ(decoded(file, 1000), kFirst.substr(0, kept) + joint + kTwoClocks + "\n") << kept;
    }
}

TEST(LogLines, BecomeJson) {
    EXPECT_EQ(orvocap::logJson("[2021-03-04 05:06:07][1][notice ][unnamed thread:4711][SC:12]: first [x]: y\n"),
              R"({"time":"2021-03-04 05:06:07","level":"notice","thread":"unnamed thread:4711","source":"SC:12",)"
              R"("text":"first [x]: y"})"
              "\n");
    EXPECT_EQ(orvocap::logJson("[2021-03-04 05:06:07][1][notice\n*** \"\xFF\n"),
              "{\"text\":\"[2021-03-04 05:06:07][1][notice\"}\n{\"text\":\"*** \\\"\xEF\xBF\xBD\"}\n");
}

}  // namespace
