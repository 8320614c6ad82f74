#include "Core/Progress.h"
#include "Core/CoreExceptions.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

using namespace Tarsel;

namespace {

class Recorder : public Core::RefCounted<Core::IProgressController> {
public:
    bool SetProgress(double done, std::string const& stage) override {
        reports.emplace_back(done, stage);
        return goOn;
    }

    std::vector<std::pair<double, std::string>> reports;
    bool goOn = true;
};

class ProgressStages : public testing::Test {
protected:
    SP<Recorder> m_recorder = MakeSP<Recorder>();
    Core::ProgressControllerStages m_stages;

    void SetUp() override { m_stages.SetProgressController(m_recorder); }
};

TEST_F(ProgressStages, ReportsShareOfAllStages) {
    m_stages.Init({2, 0, 6});
    EXPECT_TRUE(m_stages.InitStage(0, "first"));
    m_stages.IncProgress();
    m_stages.InitStage(1, nullptr); // the second step of the first stage counts as done
    m_stages.IncProgress();         // a stage without steps cannot move
    m_stages.InitStage(2, "last");
    for (int i = 0; i < 7; ++i) // one more than there are
        m_stages.IncProgress();

    using Report = std::pair<double, std::string>;
    EXPECT_THAT(m_recorder->reports,
                testing::ElementsAre(Report(0, "first"), Report(0.125, "first"), Report(0.25, ""),
                                     Report(0.25, ""), Report(0.25, "last"), Report(0.375, "last"),
                                     Report(0.5, "last"), Report(0.625, "last"), Report(0.75, "last"),
                                     Report(0.875, "last"), Report(1, "last"), Report(1, "last")));
}

TEST_F(ProgressStages, HandsOnTheWishToStop) {
    m_stages.Init({4});
    m_recorder->goOn = false;
    EXPECT_FALSE(m_stages.InitStage(0, "work"));
    EXPECT_FALSE(m_stages.IncProgress());
    m_stages.SetProgressController(nullptr);
    EXPECT_EQ(m_recorder->GetRefCount(), 1);
    EXPECT_TRUE(m_stages.IncProgress());
}

TEST_F(ProgressStages, RefusesStagesThatDoNotExist) {
    EXPECT_THROW(m_stages.InitStage(0, ""), Core::CoreException);
    m_stages.Init({1, 1});
    m_stages.InitStage(1, "kept");
    EXPECT_THROW(m_stages.InitStage(-1, ""), Core::CoreException);
    EXPECT_THROW(m_stages.Init({3, -1}), Core::CoreException);
    try {
        m_stages.InitStage(2, "");
        FAIL();
    } catch (std::exception const& exception) {
        EXPECT_STREQ(exception.what(), "There is no stage 2 among 2, counted from 0");
    }
    m_stages.IncProgress(); // what was refused changed nothing
    EXPECT_EQ(m_recorder->reports.back(), std::pair(1.0, std::string("kept")));
}

} // namespace
