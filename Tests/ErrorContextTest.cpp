#include "ErrorContext.h"

#include "DumpContext.h"
#include "TestSupport.h"

namespace vyn::test {

struct CountedError : CError {
    CountedError() : CError("counted") { ++alive; }
    ~CountedError() override { --alive; }
    static inline int alive = 0;
};

TEST(FileContexts, DoNothingWithoutAFile) {
    CError error("lost");
    CFileErrorContext closed, unopened("/nonexistent/file");
    for (CErrorContext* context : {&closed, &unopened}) {
        *(*context << &error) << "message";
        EXPECT_EQ(context->m_nErrors, 0);
    }
    CFileDumpContext dump("/nonexistent/file");
    *(*(*(dump << 1) << true) << 'c') << "text";
}

TEST(FileContexts, CloseOnlyTheFilesTheyOpened) {
    const TemporaryDirectory directory;
    const std::string path = directory / "file";
    CError error("error ");
    const int opened = LowestFreeDescriptor();
    {
        CFileErrorContext context(path.c_str());
        EXPECT_EQ(fcntl(opened, F_GETFD), FD_CLOEXEC);
        *(*(context << &error) << &error) << "message";
        EXPECT_EQ(context.m_nErrors, 2);
    }
    EXPECT_EQ(ReadText(path), "error error message");
    {
        CFileDumpContext dump(path.c_str());
        EXPECT_EQ(fcntl(opened, F_GETFD), FD_CLOEXEC);
        dump << "emptied";
    }
    EXPECT_EQ(ReadText(path), "emptied");

    FILE* stream = fopen(path.c_str(), "w");
    CFileErrorContext(stream).FlushError(&error);
    *(*(*(CFileDumpContext(stream) << -12) << false) << 'x') << "y";
    EXPECT_GE(fputs(" end", stream), 0);
    EXPECT_EQ(fclose(stream), 0);
    EXPECT_EQ(ReadText(path), "error -12falsexy end");
}

TEST(StringDumpContext, AppendsEachValueAsText) {
    CStringDumpContext context;
    *(*(*(*(context << 12) << true) << 'x') << "y") << false;
    EXPECT_STREQ(context, "12truexyfalse");
}

TEST(BufferErrorContext, DeletesWhatIsLinkedAtItsEnd) {
    CountedError error;
    CountedError unlinked;
    {
        CBufferErrorContext context;
        *(context << &error) << "message";
        EXPECT_EQ(context.m_nErrors, 1) << "without the message";
        context.LinkError(&unlinked);
        context.LinkError(new CountedError);
        EXPECT_TRUE(context.ErrorPresent(&unlinked));
        context.UnlinkError(&unlinked);
        EXPECT_FALSE(context.ErrorPresent(&unlinked));
        SString texts;
        for (void* pos = context.GetFirstErrorPosition(); pos;) {
            texts += context.GetNextError(pos)->m_strText + " ";
        }
        EXPECT_EQ(texts, "counted message counted ");
    }
    EXPECT_EQ(CountedError::alive, 2);
}

TEST(BufferErrorContext, LinksByTheVirtualOperation) {
    struct Deaf : CBufferErrorContext {
        void AddError(CError* error) override { delete error; }
    } context;
    context << "lost";
    EXPECT_EQ(context.GetErrorCount(), 0);
}

TEST(BufferErrorContext, MapsErrorsUpToTheFirstResult) {
    CBufferErrorContext context;
    *(*(context << "1") << "2") << "3";
    std::string visited;
    const auto visit = [](CError* error, void* data) {
        return (*static_cast<std::string*>(data) += error->m_strText) == "12" ? 7L : 0L;
    };
    EXPECT_EQ(context.MapErrors(visit, &visited), 7);
    EXPECT_EQ(context.MapErrors(visit, &visited), 0);
    EXPECT_EQ(visited, "12123");
}

TEST(Error, GoesToTheCurrentContextIfThereIsOne) {
    CBufferErrorContext context;
    CError error("text");
    _QbxCurrentErrorCtx = &context;
    error.Flush();
    _QbxCurrentErrorCtx = nullptr;
    error.Flush();
    EXPECT_EQ(context.GetErrorCount(), 1);
}

}  // namespace vyn::test
