#include "VynToolMessages.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "Resources/VynRes_p.h"
#include "SPathName.h"
#include "filename_expand.h"

namespace vyn {

namespace {

// A placeholder of a text. The length is 0 where none stands.
struct Placeholder {
    size_t length = 0;
    int argument = 0;  // from 1 on; 0 for the one behind that of the placeholder before
    SString form;      // what the argument has to be
};

// Skips a width or a precision; "*" is an argument of its own.
void SkipNumber(const char*& p, SString& form) {
    if (*p == '*') {
        form += *p++;
    } else {
        p += strspn(p, "0123456789");
    }
}

// The placeholder of the printf family at `text`, also with the number of an argument as FormatI18n has it.
Placeholder PrintfPlaceholder(const char* text) {
    Placeholder found;
    const char* p = text + 1;
    if (p[0] == '$' && p[1] >= '1' && p[1] <= '9') {
        found.argument = p[1] - '0';
        p += 2;
    }
    p += strspn(p, "-+ #0'");
    if (p[-1] == ' ' && !strchr("123456789*.", *p)) {
        return found;  // a blank and a letter are text, as in "50 % done"
    }
    SkipNumber(p, found.form);
    if (*p == '.') {
        SkipNumber(++p, found.form);
    }
    for (; *p && strchr("hljztL", *p); ++p) {
        found.form += *p;
    }
    if (*p && strchr("diouxXeEfFgGaAcspn", *p)) {
        found.form += *p;
        found.length = static_cast<size_t>(p + 1 - text);
    }
    return found;
}

// The placeholder of SFmt at `text`.
Placeholder NumberedPlaceholder(const char* text) {
    Placeholder found;
    char* end = nullptr;
    if (text[1] >= '0' && text[1] <= '9') {
        found.argument = static_cast<int>(strtol(text + 1, &end, 10));
        found.length = static_cast<size_t>(end - text);
    }
    return found;
}

using Parser = Placeholder (*)(const char*);

// An English text is one for SFmt when a number behind a "%" makes no sense to printf.
Parser ParserOf(const char* english) {
    for (const char* p = strchr(english, '%'); p; p = strchr(p, '%')) {
        if (NumberedPlaceholder(p).length && !PrintfPlaceholder(p).length) {
            return NumberedPlaceholder;
        }
        p += p[1] ? 2 : 1;
    }
    return PrintfPlaceholder;
}

// The placeholders of a text in the order of their arguments.
SString Placeholders(const char* text, Parser parse) {
    std::vector<std::pair<int, SString>> found;
    int argument = 0;
    for (const char* p = strchr(text, '%'); p; p = strchr(p, '%')) {
        const Placeholder placeholder = parse(p);
        if (placeholder.length) {
            argument = placeholder.argument ? placeholder.argument : argument + 1;
            found.emplace_back(argument, placeholder.form);
            p += placeholder.length;
        } else {
            p += p[1] == '%' ? 2 : 1;
        }
    }
    std::sort(found.begin(), found.end());
    SString list;
    for (const auto& [number, form] : found) {
        list += " %" + std::to_string(number) + form;
    }
    return list;
}

const char* Accented(char c) {
    static const char* const vowels[] = {"aá", "eé", "ií", "oó", "uú", "AÁ", "EÉ", "IÍ", "OÓ", "UÚ"};
    for (const char* vowel : vowels) {
        if (vowel[0] == c) {
            return vowel + 1;
        }
    }
    return nullptr;
}

// The directory of the program or library that holds `address`.
SPathName ModuleDirectory(const void* address) {
    Dl_info info;
    void* map = nullptr;
    if (!dladdr1(address, &info, &map, RTLD_DL_LINKMAP)) {
        return SPathName();
    }
    // The loader calls the program itself by the words of its user, not by its file.
    const char* name = static_cast<link_map*>(map)->l_name;
    char* file = realpath(*name ? name : "/proc/self/exe", nullptr);
    SPathName directory(file ? SPathName(file).GetDirectory() : SString());
    free(file);
    return directory;
}

// The table in the library of a language; null when there is none.
const VynMessage* LoadLanguage(const SPathName& locale, const char* name) {
    SPathName path(locale);
    path.AddPathElement(VynGetLocale());
    path.AddPathElement((SString(name) + ".so").c_str());
    // Never closed: texts of it may be in use to the very end.
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    return library ? static_cast<const VynMessage*>(dlsym(library, "vynMessages")) : nullptr;
}

const VynMessage* FindLanguage(const char* name, const void* module, const char* locale) {
    if (IsAbsolutePathLocal(locale)) {
        return LoadLanguage(locale, name);
    }
    for (const char* step : {"", ".."}) {
        SPathName directory = ModuleDirectory(module);
        directory.AddPathElement(step);
        directory.AddPathElement(locale);
        if (const VynMessage* messages = LoadLanguage(directory, name)) {
            return messages;
        }
    }
    return nullptr;
}

}  // namespace

VynToolMessages::VynToolMessages(const char* name, const VynMessage* english, const char* locale)
    : m_table(GetHandle()) {
    for (const VynMessage* message = english; message->text; ++message) {
        m_table.Add(message->id, message->text);
    }
    const SString language(VynGetLocale());
    if (language == detail::kPseudoLanguage) {
        for (const VynMessage* message = english; message->text; ++message) {
            m_table.Add(message->id, m_listPseudo.emplace_back(VynPseudoText(message->text)).c_str());
        }
    } else if (language != detail::kEnglish && detail::IsFolderName(language)) {
        for (const VynMessage* m = FindLanguage(name, english, locale); m && m->text; ++m) {
            m_table.Add(m->id, m->text);
        }
    }
}

SString VynToolMessages::GetText(unsigned id) const {
    SString text;
    LoadStringA(GetHandle(), id, text);
    return text;
}

int VynCheckTranslation(const VynMessage* english, HINSTANCE handle, SVector<SString>& findings) {
    int count = 0;
    for (const VynMessage* message = english; message->text; ++message) {
        const SString number(std::to_string(message->id).c_str());
        const Parser parse = ParserOf(message->text);
        const SString expected = Placeholders(message->text, parse);
        SString text;
        if (!LoadStringA(handle, message->id, text)) {
            findings.push_back(number + ": the text is missing");
            ++count;
        } else if (const SString found = Placeholders(text.c_str(), parse); found != expected) {
            findings.push_back(number + ": the placeholders are" + found + ", in English" + expected + ": " + text);
            ++count;
        }
    }
    return count;
}

SString VynPseudoText(const char* english) {
    const Parser parse = ParserOf(english);
    SString text("[");
    for (const char* p = english; *p;) {
        const size_t kept = *p != '%' ? 0 : p[1] == '%' ? 2 : parse(p).length;
        const char* accented = Accented(*p);
        if (accented) {
            text += accented;
        } else {
            text.append(p, kept ? kept : 1);
        }
        p += kept ? kept : 1;
    }
    // Translations are up to a third longer.
    return text + std::string(strlen(english) / 3, '~') + "]";
}

}  // namespace vyn
