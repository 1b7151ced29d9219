// What look-ups remember: after each change, by every public road, they give what a plain walk gives.

#include <malloc.h>

#include <random>

#include "TestSupport.h"
#include "VynOptionTables.h"

namespace vyn::test {
namespace {

const char* const keys[] = {"Editor", "Editor/Text", "Build", "New", "Editor/Text/None"};
const char* const names[] = {"Wrap", "Name", "Font", "Text/Font", "Target", "Extra"};

CRgValue* Walk(CRgFile& file, const std::string& path, const char* name) {
    CRgKey* key = file.GetKeyRoot();
    for (size_t begin = 0, end = 0; key && end != std::string::npos; begin = end + 1) {
        end = path.find('/', begin);
        key = key->FindKey(path.substr(begin, end - begin).c_str());
    }
    return key ? key->FindValue(name) : nullptr;
}

const CCategory* const categories[] = {&catEditor, &catBuild, &catOther, &catNew};

struct Lookups {
    Lookups() {
        m_other.AddCategory(&catOther);
        m_other.AddCategory(&catNew);
        for (const char* name : {"a", "b", "c", "d", "e"}) {
            const std::string wrap = "[Editor]\"Wrap\"=\"" + std::string(name) + "\"";
            WriteText(m_directory / name, wrap + "[Editor/Text]\"Font\"=\"F\"(\"fixed\"=\"true\")");
            m_manager.Load((m_directory / name).c_str());
        }
    }

    void Change() {
        const std::function<void()> changes[] = {
            [&] { m_manager.SetValue(Key(), Name(), Text()); },
            [&] { File().SetValue(Key(), Name(), Text()); },
            [&] { File().SetAttributeValue(Key(), Name(), Text(), "fixed", Text()); },
            [&] { OptionFile().SetRedefineFlag("Editor", "Wrap", Text(), Pick(2) ? 1 : 0); },
            [&] { File().CreateKey(Key(), Pick(2) ? "k" : nullptr, "v"); },
            [&] { InKey([&](auto&, auto* key) { key->CreateValue(Name(), CRgValue::eText, Text(), {}); }); },
            [&] { InKey([&](CRgFile&, CRgKey* key) { RemoveValue(key, key->FindValue(Name())); }); },
            [&] { InKey([&](auto&, auto* key) { key->Empty(); }); },
            [&] { InKey([&](CRgFile& file, CRgKey* key) { RemoveKey(file, key, &CRgFile::RemoveKey); }); },
            [&] { InKey([&](CRgFile& file, CRgKey* key) { RemoveKey(file, key, &CRgFile::DestroyKey); }); },
            [&] { m_manager.Reset(); },
            [&] { OptionFile().Reset(); },
            [&] { Pick(9) ? Reload() : m_manager.ReloadAllFiles(); },
            [&] { Pick(9) ? void(OptionFile().Save(nullptr)) : m_manager.SaveAllFiles(); },
            [&] { SetAside(Pick(9) ? 1 : 5); },
            [&] { BringBack(); },
            [&] { MoveSubtree(); },
            [&] { m_plain.Merge((m_directory / "a").c_str()); },
            [&] { m_manager.MergeManager(&m_other); },
            // The last one takes categories along, and with them the keys of all files.
            [&] { m_manager.RemoveManager(&m_other); },
            [&] { delete const_cast<CMgrCategory*>(m_manager.FindCategory("Build", 0)); },
            [&] { m_manager.AddCategory(categories[Pick(std::size(categories))]); },
        };
        m_nChange = Pick(std::size(changes));
        changes[m_nChange]();
    }

    void Compare() {
        for (const char* key : keys) {
            for (const char* name : names) {
                const CRgValue* plain = Walk(m_plain, key, name);
                ASSERT_EQ(m_plain.GetValue(key, name), plain ? plain->GetValue() : nullptr) << What(key, name);
                CompareManager(key, name);
            }
        }
    }

    // The pointers are compared: what is remembered too long is found without touching it.
    void CompareManager(const char* key, const char* name) {
        const char* expected = nullptr;
        int fixed = -1;  // index of the topmost file that marks the option fixed
        int index = 0;
        bool redefined = false;
        for (void* pos = m_manager.GetFirstFilePosition(); pos; ++index) {
            COptionFile* file = m_manager.GetNextFile(pos);
            CRgValue* value = Walk(*file, key, name);
            ASSERT_EQ(file->GetValue(key, name), value ? value->GetValue() : nullptr) << What(key, name);
            const char* mark = value ? value->GetAttributeValue("fixed") : nullptr;
            ASSERT_EQ(file->GetAttributeValue(key, name, "fixed"), mark) << What(key, name);
            const bool isFixed = mark && strcmp(mark, "true") == 0;
            expected = value && (!redefined || isFixed) ? value->GetValue() : expected;
            fixed = isFixed && fixed < 0 ? index : fixed;
            redefined = redefined || value;
        }
        const COption* option = m_manager.FindOption((std::string(key) + "/" + name).c_str());
        expected = !redefined && option ? option->szDefault : expected;
        ASSERT_EQ(m_manager.IsRedefined(key, name), redefined) << What(key, name);
        ASSERT_EQ(m_manager.IsEditable(key, name), fixed <= 0) << What(key, name);
        const char* value = m_manager.GetValue(key, name);
        ASSERT_TRUE(expected ? value == expected : !*value) << What(key, name);
    }

    std::string What(const char* key, const char* name) const {
        return std::string(key) + "/" + name + " after change " + std::to_string(m_nChange);
    }
    size_t Pick(size_t count) { return m_random() % count; }
    const char* Key() { return keys[Pick(std::size(keys))]; }
    const char* Name() { return names[Pick(std::size(names))]; }
    const char* Text() { return Pick(2) ? "true" : "other"; }
    COptionFile& OptionFile() {
        if (m_manager.GetFileCount() == 0) {
            BringBack();
        }
        void* pos = m_manager.GetFirstFilePosition();
        for (size_t skip = Pick(static_cast<size_t>(m_manager.GetFileCount())); skip > 0; --skip) {
            m_manager.GetNextFile(pos);
        }
        return *m_manager.GetNextFile(pos);
    }
    CRgFile& File() { return Pick(4) ? static_cast<CRgFile&>(OptionFile()) : m_plain; }
    template <class Use>
    void InKey(Use use) {
        CRgFile& file = File();
        if (CRgKey* key = file.FindKey(Key())) {
            use(file, key);
        }
    }
    static void RemoveValue(CRgKey* key, CRgValue* value) {
        if (value) {
            key->RemoveValue(value);
            delete value;
        }
    }
    // A key of an option file is handed over when it is empty, a plain one never.
    static void RemoveKey(CRgFile& file, CRgKey* key, void (CRgFile::*remove)(CRgKey*)) {
        const bool empty = key->GetKeyCount() == 0 && key->GetValueCount() == 0;
        (file.*remove)(key);
        if (empty && dynamic_cast<COptRgKey*>(key)) {
            delete key;
        }
    }
    void Reload() { m_manager.Reload(OptionFile().GetPathName()); }
    void SetAside(size_t count) {
        for (; count > 0 && m_manager.GetFileCount() > 0; --count) {
            COptionFile& file = OptionFile();
            m_manager.RemoveFile(&file);
            m_aside.emplace_back(&file);
        }
    }
    // As it is, or loaded anew under the same path.
    void BringBack() {
        if (m_aside.empty()) {
            return;
        }
        std::unique_ptr<COptionFile> file = std::move(m_aside.back());
        m_aside.pop_back();
        Pick(2) ? m_manager.AddFile(file.release()) : void(m_manager.AddOptionFile(file->GetPathName()));
    }
    // Takes a key out of the plain tree with all that it holds, or brings it back.
    void MoveSubtree() {
        CRgKey* parent = m_plain.CreateKey("Editor", nullptr, nullptr);
        if (m_loose) {
            parent->AddKey(m_loose.release());
        } else if (CRgKey* key = parent->FindKey("Text")) {
            parent->RemoveKey(key);
            m_loose.reset(key);
        }
    }

    TemporaryDirectory m_directory;
    std::mt19937 m_random{1};
    COptionManager m_other;
    Manager m_manager;
    CRgFile m_plain;
    std::unique_ptr<CRgKey> m_loose;
    std::vector<std::unique_ptr<COptionFile>> m_aside;
    size_t m_nChange = 0;
};

TEST(Lookup, GivesWhatAPlainWalkGivesAfterEachChange) {
    Lookups lookups;
    for (int i = 0; i < 5000 && !testing::Test::HasFailure(); ++i) {
        lookups.Change();
        lookups.Compare();
    }
}

// A key of a tool's own class: it answers differently each time.
struct MovingKey : COptRgKey {
    MovingKey() : COptRgKey(nullptr) {}
    const char* GetName() const override { return "Moving"; }
    CRgValue* FindValue(const char*) const override {
        m_value.SetValue(std::to_string(++m_nAsked).c_str());
        return &m_value;
    }
    mutable COptRgValue m_value{optEditor, ""};
    mutable int m_nAsked = 0;
};

TEST(Lookup, AsksAKeyOfAForeignClassEachTime) {
    Manager manager;
    COptionFile* file = new COptionFile(&manager);
    manager.AddFile(file);
    file->GetKeyRoot()->AddKey(new MovingKey);
    for (const char* expected : {"1", "2", "3"}) {
        EXPECT_STREQ(manager.GetValue("Moving", "Wrap"), expected);
    }
    EXPECT_STREQ(file->GetValue("Moving", "Wrap"), "4");
    EXPECT_STREQ(file->GetValue("Moving", "Wrap"), "5");
}

// Each round brings a new value, asks for it, and asks again when it is gone.
void AskForEverNewAddresses(CRgFile& file, int rounds) {
    file.SetValue("a/b", "kept", "k");
    CRgKey* key = file.FindKey("a/b");
    for (int i = 0; i < rounds; ++i) {
        const std::string name = "value" + std::to_string(i);
        file.SetValue("a/b", name.c_str(), name.c_str());
        ASSERT_EQ(file.GetValue("a/b", name.c_str()), name);
        ASSERT_STREQ(file.GetValue("a/b", "kept"), "k");
        const std::unique_ptr<CRgValue> value(key->FindValue(name.c_str()));
        key->RemoveValue(value.get());
        ASSERT_EQ(file.GetValue("a/b", name.c_str()), nullptr);
    }
}

TEST(Lookup, KeepsNothingOfWhatIsGoneAndServesThreadsWithFilesOfTheirOwn) {
    CRgFile file, another;
    AskForEverNewAddresses(file, 100);
    const size_t before = mallinfo2().uordblks;
    AskForEverNewAddresses(file, 10000);
    EXPECT_LT(mallinfo2().uordblks, before + 100000);
    std::thread other([&] { AskForEverNewAddresses(another, 5000); });
    AskForEverNewAddresses(file, 5000);
    other.join();
}

}  // namespace
}  // namespace vyn::test
