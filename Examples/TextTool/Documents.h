#pragma once

// Documents by path or URN, and the documents that they refer to.

#include <VynUri.h>

#include <memory>
#include <string>
#include <vector>

#include "Settings.h"
#include "Texts.h"
#include "Wrap.h"

// Lets urn:texts: stand for the library of texts, unless the user's own map has that name.
inline void RegisterTexts() {
    if (!vyn::SUrnResolver::IsUrnRegistered("texts")) {
        vyn::SUrnResolver::RegisterUrn("texts", DataPath("texts"));
    }
}

// Appends the paragraphs of a document; a paragraph "@reference" is replaced by the document that it names.
inline bool ReadDocument(const vyn::SString& name, std::vector<Paragraph>& paragraphs, int depth = 0) {
    if (depth > 10) {
        Tell(eTooDeep, name);
        return false;
    }
    vyn::SVector<vyn::SString> errors;  // the reasons, for a tool that shows them
    const std::unique_ptr<std::istream> document(vyn::SUri.OpenRead(errors, name));
    if (!document) {
        Tell(eCantRead, name);
        return false;
    }
    vyn::SString base;  // where the document lies: what it refers to may be relative to it
    vyn::SUrnResolver::ResolveUrn(name, base);
    for (const Paragraph& paragraph : ReadParagraphs(*document)) {
        if (paragraph.text[0] != '@') {
            paragraphs.push_back(paragraph);
            continue;
        }
        vyn::SString part;
        vyn::SUrnResolver::CreateAbsolutePath(base, paragraph.text.substr(1), part);
        if (!ReadDocument(part, paragraphs, depth + 1)) {
            return false;
        }
    }
    return true;
}
