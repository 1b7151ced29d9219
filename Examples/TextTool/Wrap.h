#pragma once

// Paragraphs and lines: plain C++, in UTF-8.

#include <algorithm>
#include <istream>
#include <sstream>
#include <string>
#include <vector>

struct Paragraph {
    std::string style;  // from a first line as ".Title"; "Body" without one
    std::string text;   // its words with one blank between
};

// Paragraphs end at an empty line.
inline std::vector<Paragraph> ReadParagraphs(std::istream& document) {
    std::vector<Paragraph> paragraphs;
    bool isOpen = false;
    for (std::string line; std::getline(document, line);) {
        if (line.empty()) {
            isOpen = false;
            continue;
        }
        if (!isOpen) {
            isOpen = true;
            const bool hasStyle = line[0] == '.';
            paragraphs.push_back({hasStyle ? line.substr(1) : "Body", hasStyle ? "" : line});
            continue;
        }
        std::string& text = paragraphs.back().text;
        text += (text.empty() ? "" : " ") + line;
    }
    return paragraphs;
}

// Characters, not bytes: those that continue a character of UTF-8 are 10xxxxxx.
inline int CountCharacters(const std::string& text) {
    return static_cast<int>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

// A word that is longer than the width has a line of its own.
inline std::vector<std::string> Wrap(const std::string& text, int width) {
    std::vector<std::string> lines;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (!lines.empty() && CountCharacters(lines.back()) + 1 + CountCharacters(word) <= width) {
            lines.back() += " " + word;
        } else {
            lines.push_back(word);
        }
    }
    return lines;
}
