// orvocap picker: a page with one card for each screen and window.
#include "picker.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <string_view>

#include "application.h"
#include "options.h"
#include "output_stream.h"
#include "png_files.h"

namespace orvocap {

namespace {

constexpr std::string_view pageHead = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>What can be shared</title>
<style>
:root { color-scheme: light dark; --page: #f3f4f7; --card: #fff; --edge: #dfe2e8; --text: #1b1e25; --soft: #646b7a;
  --stage: #e6e9ef; --accent: #2f6fed; }
@media (prefers-color-scheme: dark) { :root { --page: #14161b; --card: #1e2128; --edge: #2e323c; --text: #eceef3;
  --soft: #9aa2b3; --stage: #0d0f13; --accent: #7aa5ff; } }
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 1440px; padding: 32px clamp(16px, 3vw, 40px) 48px; background: var(--page);
  color: var(--text); font: 15px/1.45 system-ui, -apple-system, "Segoe UI", "Noto Sans", sans-serif; }
h1 { margin: 0; font-size: 26px; letter-spacing: -0.01em; }
header p { margin: 4px 0 0; color: var(--soft); }
h2 { margin: 32px 0 12px; font-size: 13px; letter-spacing: 0.06em; text-transform: uppercase; color: var(--soft); }
.cards { display: grid; gap: 16px; grid-template-columns: repeat(auto-fill, minmax(min(100%, 260px), 1fr)); }
.card { display: flex; flex-direction: column; overflow: hidden; background: var(--card);
  border: 1px solid var(--edge); border-radius: 12px; }
.card:hover { border-color: var(--accent); box-shadow: 0 0 0 1px var(--accent); }
.stage { position: relative; display: grid; place-items: center; aspect-ratio: 16 / 10; background: var(--stage);
  border-bottom: 1px solid var(--edge); color: var(--soft); font-size: 13px; }
.stage img { position: absolute; inset: 12px; margin: auto; max-width: calc(100% - 24px);
  max-height: calc(100% - 24px); border-radius: 4px; box-shadow: 0 1px 6px rgb(0 0 0 / 25%); }
.name { display: flex; gap: 12px; align-items: center; padding: 12px 14px; }
.icon { flex: none; width: 36px; height: 36px; object-fit: contain; }
.letter { display: grid; place-items: center; border-radius: 9px; background: var(--stage); color: var(--soft);
  font-weight: 600; }
.words { min-width: 0; }
h3 { margin: 0; font-size: 15px; font-weight: 600; overflow-wrap: anywhere; display: -webkit-box;
  -webkit-box-orient: vertical; -webkit-line-clamp: 2; overflow: hidden; }
.owner { margin: 0; color: var(--soft); font-size: 13px; overflow: hidden; text-overflow: ellipsis;
  white-space: nowrap; }
.facts { display: grid; gap: 1px; margin: auto 14px 0; padding: 8px 0 12px; border-top: 1px solid var(--edge);
  color: var(--soft); font-size: 12.5px; font-variant-numeric: tabular-nums; }
</style>
</head>
<body>
)";

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            default:
                result += c;
        }
    }
    return result;
}

std::string base64(const std::vector<uint8_t>& bytes) {
    constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t taken = std::min<size_t>(3, bytes.size() - i);
        uint32_t group = 0;
        for (size_t k = 0; k < 3; ++k) group = group << 8 | (k < taken ? bytes[i + k] : 0u);
        for (size_t k = 0; k < 4; ++k) text += k <= taken ? digits[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

std::string imageSource(const Frame& frame) {
    return "data:image/png;base64," + base64(encodePng(frame));
}

// The first character of a title, for applications without an icon.
std::string initial(const std::string& text) {
    size_t end = std::min<size_t>(1, text.size());
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) ++end;
    return end > 0 ? escaped(text.substr(0, end)) : "?";
}

std::string card(const ListedItem& item) {
    const std::string title = escaped(item.title);
    const std::string& named = item.owner.empty() ? item.title : item.owner;
    std::string html = "<article class=\"card\">\n<div class=\"stage\">";
    html += item.picture ? "<img alt=\"Picture of " + title + "\" src=\"" + imageSource(*item.picture) + "\">"
                         : "No picture";
    html += "</div>\n<div class=\"name\">";
    html += item.icon ? "<img class=\"icon\" alt=\"\" src=\"" + imageSource(*item.icon) + "\">"
                      : "<div class=\"icon letter\">" + initial(item.isScreen ? "▣" : named) + "</div>";
    html += "<div class=\"words\"><h3 title=\"" + title + "\">" + title + "</h3><p class=\"owner\">" +
            (item.isScreen ? "Whole screen" : escaped(item.owner)) + "</p></div></div>\n";
    html += "<div class=\"facts\"><span>" + std::string(item.isScreen ? "Screen " : "Window ") +
            std::to_string(item.number) + "</span><span>" + std::to_string(item.width) + " × " +
            std::to_string(item.height) + " at " + std::to_string(item.left) + ", " + std::to_string(item.top) +
            "</span></div>\n</article>\n";
    return html;
}

std::string section(const char* heading, const std::vector<ListedItem>& items, bool screens) {
    std::string cards;
    for (const auto& item : items) {
        if (item.isScreen == screens) cards += card(item);
    }
    if (cards.empty()) return "";
    return "<section>\n<h2>" + std::string(heading) + "</h2>\n<div class=\"cards\">\n" + cards + "</div>\n</section>\n";
}

std::string counted(size_t count, const std::string& thing) {
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

}  // namespace

std::string pickerPage(const std::vector<ListedItem>& items) {
    const auto screens = static_cast<size_t>(
        std::count_if(items.begin(), items.end(), [](const ListedItem& item) { return item.isScreen; }));
    std::string page(pageHead);
    page += "<header>\n<h1>What can be shared</h1>\n<p>" + counted(screens, "screen") + ", " +
            counted(items.size() - screens, "window") + "</p>\n</header>\n";
    page += section("Screens", items, true) + section("Windows", items, false);
    return page + "</body>\n</html>\n";
}

namespace {

ExitCode writePage(const std::string& path, bool force) {
    allowOverwriting(path, force);
    const auto items = listItems(true);
    const std::string page = pickerPage(items);
    writeFile(path, page.data(), page.size());
    if (path != "-") std::printf("wrote %zu cards to %s\n", items.size(), path.c_str());
    return exitSuccess;
}

}  // namespace

void addPickerCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("picker", "Write a page with a card for every screen and window.");
    auto path = std::make_shared<std::string>();
    auto force = std::make_shared<bool>(false);
    command->add_option("-o,--out", *path, "the HTML file; - is standard output")->type_name("FILE")->required();
    addForce(*command, *force);
    command->footer("  orvocap picker --out picker.html\n");
    command->callback([=, &action] { action = [=] { return writePage(*path, *force); }; });
}

}  // namespace orvocap
