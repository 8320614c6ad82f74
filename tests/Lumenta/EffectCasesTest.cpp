#include "EffectCases.h"
#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Frames.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IPreset.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Orientation.h"

#include <boost/core/demangle.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <typeinfo>

namespace Tarsel::Test {
namespace {

using Proc::IDataVideo;

/// Of any property they make the settings; all others of the wrapper make default ones.
bool ReadsProperties(EffectCase const& row) {
    static std::set<std::string> const s_reading{"flip",    "transpose", "deinterlace", "denoise-chroma-luma",
                                                 "deshake", "stabilizer"};
    return s_reading.contains(row.classId);
}

class EffectCases : public testing::TestWithParam<EffectCase> {
protected:
    SP<Proc::IOneInputEffectVideo> const m_effect = GetParam().Make();
};

class WrapperCases : public EffectCases {};

TEST_P(WrapperCases, TellTheirFilterAndGiveTheirSettingsBack) {
    EffectCase const& row = GetParam();
    EXPECT_EQ(Describe(*m_effect), row.PassesUntouched() ? "" : row.text);

    SP<IDataVideo> const input = MakeFrame();
    EXPECT_EQ(Apply(*m_effect, input) == input, row.PassesUntouched());
    Core::Property const statistic = m_effect->GetStatistic();
    EXPECT_EQ(statistic["Options"].GetString(), row.text);
    Proc::Settings const& present = m_effect->GetSettingsBase();
    std::string name = boost::core::demangle(typeid(present).name());
    name.erase(0, std::string("Tarsel::Proc::").size());
    EXPECT_EQ(statistic["Name"].GetString(), "virtual Core::Property EffectFafloplal<EffectActions<" + name +
                                                 ">>::GetStatistic() const [EffectActions = EffectActions<" +
                                                 name + ">]");

    auto const settings = row.MakeSettings();
    EXPECT_TRUE(m_effect->GetSettingsBase().IsEqualTo(*settings));
    Core::Property const property = m_effect->GetSettings();
    EXPECT_EQ(property[Proc::IPreset::KEY_TYPE_ID].GetString(), Proc::ImplNames::FFMPEG);

    bool const reads = ReadsProperties(row);
    auto const other = reads ? MakeEffect(row.classId) : row.Make();
    other->SetSettings(property);
    EXPECT_TRUE(
        other->GetSettingsBase().IsEqualTo(reads ? *settings : MakeEffect(row.classId)->GetSettingsBase()));
}

TEST_P(EffectCases, ForetellFormatAndSize) {
    EffectCase const& row = GetParam();
    auto const takes = dynamic_cast<Proc::IEffectDetails const&>(*m_effect).GetTraits().takes;
    auto const settings = row.MakeSettings();
    auto const* const matrix = dynamic_cast<Proc::SettingsEffectDisplayMatrix const*>(settings.get());
    for (char const* const name : s_formatKinds) {
        SCOPED_TRACE(name);
        auto const& format = Conf::PixFmtDescription::Find(ByName(name));
        SP<Conf::IFormatCodecVideo> asked;
        auto const ask = [&](Proc::IOneInputEffectVideo& effect) {
            asked = MakeCodec(format.GetFormat());
            if (matrix)
                asked->SetDisplayMatrix(matrix->matrix);
            effect.UpdateFormatCodec(asked);
        };
        SP<IDataVideo> data = MakeFrame(format.GetFormat());
        auto const fresh = row.Make();
        if (TreatsAlphaApart(row) && !format.HasAlpha()) {
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
    std::ranges::remove_copy_if(GetEffectCases(), std::back_inserter(rows), IsCustom);
    return rows;
}

INSTANTIATE_TEST_SUITE_P(All, EffectCases, testing::ValuesIn(GetEffectCases()));
INSTANTIATE_TEST_SUITE_P(Wrapper, WrapperCases, testing::ValuesIn(GetWrapperCases()));

} // namespace
} // namespace Tarsel::Test
