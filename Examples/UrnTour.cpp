// A tour of URNs and URIs: names for directories, references that survive a move, and a scheme of one's own.
//
//     UrnTour <directory to work in>
//
// The map of names is kept in the user's directory below HOME.

#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <sstream>
#include <string>

#include "VynUri.h"

namespace {

using vyn::SString;
using vyn::SVector;

// Documents that live in memory, as `mem:name`.
class MemoryScheme final : public vyn::SUriScheme {
public:
    MemoryScheme() { vyn::SUriSchemeManager::Register(*this); }
    MemoryScheme(const MemoryScheme&) = delete;
    MemoryScheme& operator=(const MemoryScheme&) = delete;
    ~MemoryScheme() { vyn::SUriSchemeManager::UnRegister(*this); }

    std::istream* OpenRead(SVector<SString>& errors, const SString& uri) override {
        const auto document = m_mapDocuments.find(uri);
        if (document == m_mapDocuments.end()) {
            errors.push_back("There is no document " + uri);
            return nullptr;
        }
        return new std::istringstream(document->second);
    }
    std::ostream* OpenWrite(SVector<SString>&, const SString& uri) override { return new Writer(m_mapDocuments[uri]); }
    bool CanHandle(const SString& uri) const override { return uri.compare(0, 4, "mem:") == 0; }
    int GetCapabilities() const override { return eCapabilityRead | eCapabilityWrite; }
    SFormat GetFormat(const SString&) const override { return eFormatUnknown; }
    void GetSchemeDescription(SString& text) const override { text = "Documents in memory"; }
    void GetDisplayText(const SString& uri, SString& text, const SString& extra) const override {
        text = uri.substr(4) + " in memory" + extra;
    }
    bool IsReadOnly(const SString&, bool) override { return false; }
    bool IsEqual(const SString& first, const SString& second) override { return first == second; }

    // What this scheme doesn't offer.
    SStatus GetDefaultOutputLocation(const SString&, SString&) const override { return eStatusNotDone; }
    bool MakeEditable(const SString&) override { return false; }

private:
    // The text becomes the document when the stream is deleted.
    class Writer : public std::ostringstream {
    public:
        explicit Writer(std::string& document) : m_document(document) {}
        ~Writer() override { m_document = str(); }

    private:
        std::string& m_document;
    };

    std::map<std::string, std::string> m_mapDocuments;
};

bool Write(const SString& uri, const std::string& text) {
    SVector<SString> errors;
    const std::unique_ptr<std::ostream> document(vyn::SUri.OpenWrite(errors, uri));
    for (const SString& error : errors) {
        printf("  %s\n", error.c_str());
    }
    if (!document) {
        return false;
    }
    *document << text;
    return document->good();
}

// The text of a document; the errors when it can't be opened.
std::string Read(const SString& uri) {
    SVector<SString> errors;
    const std::unique_ptr<std::istream> document(vyn::SUri.OpenRead(errors, uri));
    if (document) {
        return std::string(std::istreambuf_iterator<char>(*document), {});
    }
    std::string text = "nobody opens it";
    for (const SString& error : errors) {
        text = error;
    }
    return text;
}

// Lets "project" and "library" name directories: the tool's option holds one line.
void RegisterUrns(const std::string& project, const std::string& library) {
    const SString option("project:" + project + ";library:" + library);
    printf("Option: %s\n", option.c_str());
    vyn::SUrnResolver::RegisterURNsFromOptionString(option);
}

void ShowResolved(const SString& urn) {
    SString path;
    const bool resolved = vyn::SUrnResolver::ResolveUrn(urn, path);
    printf("  %s is %s\n", urn.c_str(), resolved ? path.c_str() : "not known");
}

int Tour(const std::string& work) {
    const std::string project = work + "/project";
    const std::string moved = work + "/moved";
    const std::string library = work + "/library";
    for (const std::string& old : {project, moved, library}) {
        std::filesystem::remove_all(old);
    }
    std::filesystem::create_directories(project + "/parts");
    std::filesystem::create_directories(library);
    RegisterUrns(project, library);

    printf("\nURNs and their paths:\n");
    ShowResolved("urn:PROJECT:parts/wheel.mod");
    ShowResolved("urn:library:bolt.mod");
    ShowResolved("urn:nowhere:bolt.mod");
    for (const std::string& path : {project + "/parts/../main.mod", library + "/bolt.mod", work + "/x"}) {
        SString urn;
        vyn::SUrnResolver::CreateUrn(path, urn);
        printf("  %s is %s\n", path.c_str(), urn.c_str());
    }

    printf("\nDocuments opened by name:\n");
    if (!Write("urn:project:parts/wheel.mod", "a wheel") || !Write("urn:library:bolt.mod", "a bolt")) {
        return 1;
    }
    printf("  %s reads '%s'\n", (project + "/parts/wheel.mod").c_str(), Read(project + "/parts/wheel.mod").c_str());
    printf("  urn:library:bolt.mod reads '%s'\n", Read("urn:library:bolt.mod").c_str());
    printf("  urn:library:nut.mod reads '%s'\n", Read("urn:library:nut.mod").c_str());

    // The document stores each reference in the form that is relative to itself.
    printf("\nReferences of project/main.mod, before and after the project moved:\n");
    SVector<SString> references;
    for (const std::string& path : {project + "/parts/wheel.mod", library + "/bolt.mod"}) {
        SString stored;
        vyn::SUrnResolver::CreateRelativePath(project + "/main.mod", path, stored);
        references.push_back(stored);
        printf("  %s is stored as %s\n", path.c_str(), stored.c_str());
    }
    std::filesystem::rename(project, moved);
    RegisterUrns(moved, library);
    for (const SString& stored : references) {
        SString path;
        vyn::SUrnResolver::CreateAbsolutePath(moved + "/main.mod", stored, path);
        printf("  %s is %s and reads '%s'\n", stored.c_str(), path.c_str(), Read(path).c_str());
    }

    printf("\nA scheme of the tool's own:\n");
    printf("  mem:x before: %s\n", Read("mem:x").c_str());
    MemoryScheme memory;
    printf("  mem:x registered: %s\n", Read("mem:x").c_str());
    Write("mem:x", "in memory");
    SString shown;
    vyn::SUri.GetDisplayText("mem:x", shown, "");
    printf("  mem:x written: '%s', shown as %s\n", Read("mem:x").c_str(), shown.c_str());
    return Read("mem:x") == "in memory" && Read(moved + "/parts/wheel.mod") == "a wheel" ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: UrnTour <directory to work in>\n");
        return 2;
    }
    try {
        return Tour(std::filesystem::absolute(argv[1]).string());
    } catch (const std::exception& e) {
        fprintf(stderr, "UrnTour: %s\n", e.what());
        return 1;
    }
}
