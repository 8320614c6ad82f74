#include "EffectCases.h"
#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Frames.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IPreset.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Orientation.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

namespace Tarsel::Test {
namespace {

using Proc::IDataVideo;

class EffectCases : public testing::TestWithParam<EffectCase> {
protected:
    SP<Proc::IOneInputEffectVideo> const m_effect = GetParam().create({}, {});

    EffectCases() { m_effect->SetSettings(*GetParam().settings); }
};

class WrapperCases : public EffectCases {};

TEST_P(WrapperCases, TellTheirFilterEverywhere) {
    EffectCase const& row = GetParam();
    Conf::FormatCodecVideo const format(Conf::PixFmt::YUV420P, s_small);
    auto const& details = dynamic_cast<Proc::IEffectDetailsVideo const&>(*m_effect);
    EXPECT_EQ(details.Describe(format), row.PassesUntouched() ? "" : row.text);
    EXPECT_FALSE(details.GetTraits().summary.empty());

    LogWatch log(31);
    SP<IDataVideo> const input = MakeFrame();
    SP<IDataVideo> data = input;
    m_effect->Process(data);
    EXPECT_EQ(data == input, row.PassesUntouched());
    std::vector<std::string> expected;
    if (!row.PassesUntouched())
        expected = {"EffectFafloplalVideo.cpp: ffmpeg video filter settings: " + row.text};
    EXPECT_EQ(log.Take(), expected);

    Core::Property const statistic = m_effect->GetStatistic();
    EXPECT_EQ(statistic["Options"].GetString(), row.text);
    EXPECT_EQ(statistic["Name"].GetString(),
              "virtual Core::Property EffectFafloplal<EffectActions<" + row.name +
                  ">>::GetStatistic() const [EffectActions = EffectActions<" + row.name + ">]");
    EXPECT_EQ(statistic["Category"].GetInt64(), 7);
    EXPECT_EQ(statistic["MediaType"].GetInt64(), 1);
    EXPECT_EQ(statistic["ImplName"].GetString(), Proc::ImplNames::FFMPEG);
    EXPECT_EQ(statistic["Processed"].GetInt64(), row.PassesUntouched() ? 0 : 1);
    EXPECT_EQ(m_effect->GetInputFrameType(), 1);
}

TEST_P(WrapperCases, GiveTheirSettingsBack) {
    EffectCase const& row = GetParam();
    EXPECT_TRUE(m_effect->GetSettingsBase().IsEqualTo(*row.settings));
    Core::Property const property = m_effect->GetSettings();
    EXPECT_EQ(property[Proc::IPreset::KEY_TYPE_ID].GetString(), Proc::ImplNames::FFMPEG);

    auto const other = row.create({}, {});
    auto const initial = other->GetSettingsBase().Clone();
    if (!row.fromProperty)
        other->SetSettings(*row.settings);
    other->SetSettings(property);
    EXPECT_TRUE(other->GetSettingsBase().IsEqualTo(row.fromProperty ? *row.settings : *initial));
}

TEST_P(EffectCases, ForetellFormatAndSize) {
    EffectCase const& row = GetParam();
    auto const takes = dynamic_cast<Proc::IEffectDetails const&>(*m_effect).GetTraits().takes;
    for (char const* const name : s_formatKinds) {
        SCOPED_TRACE(name);
        auto const& format = Conf::PixFmtDescription::Find(Conf::PixFmtDescription::FindByName(name).value());
        SP<Conf::IFormatCodecVideo> asked;
        auto const ask = [&](Proc::IOneInputEffectVideo& effect) {
            asked = MakeSP<Conf::FormatCodecVideo>(format.GetFormat(), s_small);
            if (auto const* matrix =
                    dynamic_cast<Proc::SettingsEffectDisplayMatrix const*>(row.settings.get()))
                asked->SetDisplayMatrix(matrix->matrix);
            effect.UpdateFormatCodec(asked);
        };
        SP<Proc::IDataVideo> data = MakeFrame(format.GetFormat());
        auto const fresh = row.create({}, {});
        fresh->SetSettings(*row.settings);
        if (row.treatsAlphaApart && !format.HasAlpha()) {
            ask(*fresh);
            EXPECT_EQ(asked->GetPixelFormat(), format.GetFormat());
            continue;
        }
        if (takes == Proc::Takes::PlanarYuv && format.IsRgb() && !row.PassesUntouched()) {
            EXPECT_THROW(m_effect->Process(data), Proc::EffectException);
            EXPECT_THROW(ask(*fresh), Proc::EffectException);
            continue;
        }
        // The first frames may be held back.
        for (m_effect->Process(data); !data; m_effect->Process(data))
            data = MakeFrame(format.GetFormat());
        // Before any frame by a graph, then from the cache, at last by an effect that has a graph.
        for (auto const& effect : {fresh, fresh, m_effect}) {
            ask(*effect);
            EXPECT_EQ(asked->GetPixelFormat(), data->GetPixelFormat());
            EXPECT_EQ(asked->GetFrameInfo(), data->GetFrameInfo());
        }
    }
}

std::vector<EffectCase> GetWrapperCases() {
    std::vector<EffectCase> rows;
    std::ranges::copy_if(GetEffectCases(), std::back_inserter(rows),
                         [](EffectCase const& row) { return !row.isCustom; });
    return rows;
}

INSTANTIATE_TEST_SUITE_P(All, EffectCases, testing::ValuesIn(GetEffectCases()));
INSTANTIATE_TEST_SUITE_P(Wrapper, WrapperCases, testing::ValuesIn(GetWrapperCases()));

} // namespace
} // namespace Tarsel::Test
