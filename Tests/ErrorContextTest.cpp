#include "ErrorContext.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "DumpContext.h"

namespace vyn {
namespace {

// A file name of its own for the life of the object.
class OwnFile {
public:
    OwnFile() : m_path(testing::TempDir() + "vyn" + std::to_string(getpid()) + ".txt") {}
    OwnFile(const OwnFile&) = delete;
    OwnFile& operator=(const OwnFile&) = delete;
    ~OwnFile() { unlink(m_path.c_str()); }

    const char* Path() const { return m_path.c_str(); }
    std::string Text() const {
        std::ifstream file(m_path);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string m_path;
};

// Counts the objects alive, in `alive`.
class CountedError : public CError {
public:
    explicit CountedError(int& alive) : CError("counted"), m_pAlive(&alive) { ++*m_pAlive; }
    CountedError(const CountedError&) = delete;
    CountedError& operator=(const CountedError&) = delete;
    ~CountedError() override { --*m_pAlive; }

private:
    int* m_pAlive;
};

TEST(FileErrorContext, WritesTextsAsTheyStandAndCountsErrors) {
    const OwnFile file;
    {
        CFileErrorContext context(file.Path());
        CError first("first");
        CError second("second\n");
        *(*(context << &first) << &second) << "message";
        EXPECT_EQ(context.m_nErrors, 2);
    }
    EXPECT_EQ(file.Text(), "firstsecond\nmessage");
}

TEST(FileContexts, DoNothingWithoutAFile) {
    CError error("lost");
    CFileErrorContext closed;
    CFileErrorContext unopened("/nonexistent/file");
    for (CErrorContext* context : {&closed, &unopened}) {
        *(*context << &error) << "message";
        EXPECT_EQ(context->m_nErrors, 0);
    }
    CFileDumpContext dump("/nonexistent/file");
    *(*(*(dump << 1) << true) << 'c') << "text";
}

TEST(FileContexts, LeaveTheCallersStreamOpen) {
    const OwnFile file;
    FILE* stream = fopen(file.Path(), "w");
    ASSERT_NE(stream, nullptr);
    CError error("error ");
    CFileErrorContext(stream).FlushError(&error);
    *(*(*(CFileDumpContext(stream) << -12) << true) << 'x') << "y";
    CFileDumpContext(stream) << false;
    EXPECT_GE(fputs(" end", stream), 0);
    EXPECT_EQ(fclose(stream), 0);
    EXPECT_EQ(file.Text(), "error -12truexyfalse end");
}

TEST(FileDumpContext, EmptiesAndClosesTheFileOfItsName) {
    const OwnFile file;
    CFileDumpContext(file.Path()) << "long text";
    CFileDumpContext(file.Path()) << "short";
    EXPECT_EQ(file.Text(), "short");
}

TEST(StringDumpContext, AppendsEachValueAsText) {
    CStringDumpContext context;
    EXPECT_STREQ(context, "");
    *(*(*(context << 12) << true) << 'x') << "y";
    EXPECT_STREQ(context, "12truexy");
    std::string expected = "12truexy";
    for (int i = 0; i < 600; ++i) {
        context << false;
        expected += "false";
    }
    EXPECT_EQ(static_cast<const char*>(context), expected);
}

TEST(BufferErrorContext, CountsMessagesInItsLengthOnly) {
    int alive = 0;
    CBufferErrorContext context;
    {
        CountedError error(alive);
        *(context << &error) << "message";
    }
    EXPECT_EQ(alive, 0) << "the error that was handed in stays with the caller";
    EXPECT_EQ(context.GetErrorCount(), 2);
    EXPECT_EQ(context.m_nErrors, 1);
    void* pos = context.GetFirstErrorPosition();
    EXPECT_EQ(context.GetNextError(pos)->m_strText, "counted");
    EXPECT_EQ(context.GetNextError(pos)->m_strText, "message");
    EXPECT_EQ(pos, nullptr);
}

TEST(BufferErrorContext, DeletesWhatIsLinkedAtItsEnd) {
    int alive = 0;
    auto* kept = new CountedError(alive);
    {
        CBufferErrorContext context;
        context.LinkError(kept);
        context.LinkError(new CountedError(alive));
        context.LinkError(new CountedError(alive));
        EXPECT_TRUE(context.ErrorPresent(kept));
        context.UnlinkError(kept);
        EXPECT_FALSE(context.ErrorPresent(kept));
        EXPECT_EQ(alive, 3);
    }
    EXPECT_EQ(alive, 1);
    delete kept;
}

TEST(BufferErrorContext, MapsErrorsUpToTheFirstResult) {
    const auto stopAtSecond = [](CError* error, void* data) -> long {
        *static_cast<std::string*>(data) += error->m_strText;
        return error->m_strText == "2" ? 7 : 0;
    };
    std::string visited;
    CBufferErrorContext context;
    EXPECT_EQ(context.MapErrors(stopAtSecond, &visited), 0);
    context << "1";
    EXPECT_EQ(context.MapErrors(stopAtSecond, &visited), 0);
    *(context << "2") << "3";
    EXPECT_EQ(context.MapErrors(stopAtSecond, &visited), 7);
    EXPECT_EQ(visited, "112");
}

TEST(BufferErrorContext, LinksThroughTheOverrideOfADerivedClass) {
    struct Doubling : CBufferErrorContext {
        void AddError(CError* error) override {
            CBufferErrorContext::AddError(error);
            CBufferErrorContext::AddError(new CError(*error));
        }
    } context;
    context << "message";
    EXPECT_EQ(context.GetErrorCount(), 2);
}

TEST(Error, GoesToTheCurrentContextIfThereIsOne) {
    CBufferErrorContext context;
    CError error("text");
    error.Flush();
    _QbxCurrentErrorCtx = &context;
    error.Flush();
    _QbxCurrentErrorCtx = nullptr;
    error.Flush();
    EXPECT_EQ(context.GetErrorCount(), 1);
}

}  // namespace
}  // namespace vyn
