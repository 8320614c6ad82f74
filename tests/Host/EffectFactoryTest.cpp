#include "Host/EffectFactory.h"

#include "Host/Doubles.h"
#include "Proc/Data/FactoryData.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Support/Failure.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

using namespace Tarsel;
using Proc::ImplNames;
using Tarsel::Test::TextOf;

namespace {

/// What the last creator was called with.
SP<Proc::IEffectFactory const> s_givenFactory;
SP<Proc::IFactoryDataVideo const> s_givenData;

template <int number>
SP<Proc::IOneInputEffectVideo> CreateVideo(SP<Proc::IEffectFactory const> const& factory,
                                           SP<Proc::IFactoryDataVideo const> const& data) {
    s_givenFactory = factory;
    s_givenData = data;
    return MakeSP<HostTest::Effect>("number " + std::to_string(number));
}

class EffectFactoryTest : public testing::Test {
protected:
    EffectFactoryTest() {
        auto const registry = std::make_shared<Host::EffectRegistry>();
        registry->RegisterAudioEffect("turn", "ffmpeg", [](auto const&, auto const& data) {
            if (!data)
                throw std::logic_error("no data factory");
            return SP<Proc::IOneInputEffectAudio>();
        });
        registry->RegisterVideoEffect("turn", "first", CreateVideo<1>);
        registry->RegisterVideoEffect("turn", "ffmpeg", CreateVideo<2>);
        registry->RegisterTwoInputVideoEffect("mix", "ffmpeg",
                                              [](auto const&, auto const&) -> SP<Proc::ITwoInputEffectVideo> {
                                                  throw std::range_error("from the creator");
                                              });
        m_factory = MakeSP<Host::EffectFactory>(registry);
    }
    ~EffectFactoryTest() override {
        s_givenFactory.reset();
        s_givenData.reset();
    }

    SP<Host::EffectFactory> m_factory;
};

TEST_F(EffectFactoryTest, MakesTheImplementationAskedForOrTheFirstOfItsKind) {
    for (auto const& [implName, made] :
         {std::pair<std::string, std::string>("first", "number 1"),
          {ImplNames::FFMPEG, "number 2"},
          {ImplNames::DEFAULT, "number 1"}}) { // not the audio effect before it
        auto const effect = m_factory->CreateVideoEffect("turn", implName, {});
        EXPECT_EQ(effect->GetRefCount(), 1);
        EXPECT_EQ(effect->GetSettingsBase().GetClassId(), made);
        EXPECT_EQ(s_givenFactory, m_factory);
        EXPECT_NE(s_givenData->Create({}, Conf::PixFmt::GRAY8, {2, 2, 1, 1}), nullptr);
    }
    auto const own = MakeSP<Proc::FactoryDataVideo>();
    m_factory->CreateVideoEffect("turn", "first", own);
    EXPECT_EQ(s_givenData, own);
}

TEST_F(EffectFactoryTest, NamesWhatIsNotRegistered) {
    auto const& factory = *m_factory;
    EXPECT_EQ(TextOf([&] { factory.CreateVideoEffect("twist", ImplNames::DEFAULT, {}); }),
              "No video effect \"twist\" of implementation \"default\" is registered");
    EXPECT_EQ(TextOf([&] { factory.CreateTwoInputVideoEffect("turn", "ffmpeg", {}); }),
              "No two-input video effect \"turn\" of implementation \"ffmpeg\" is registered");
    EXPECT_EQ(TextOf([&] { factory.CreateAudioEffect("turn", "ffmpeg", {}); }),
              "The creator of the audio effect \"turn\" of implementation \"ffmpeg\" returned no effect");
    EXPECT_THROW(MakeSP<Host::EffectFactory>(nullptr), Proc::EffectException);
    EXPECT_THROW(factory.CreateTwoInputVideoEffect("mix", "ffmpeg", {}), std::range_error);
}

TEST(EffectRegistry, KeepsTheOrderReplacesInPlaceAndNamesWhatIsMissing) {
    Host::EffectRegistry registry;
    EXPECT_TRUE(registry.RegisterVideoEffect("flip", "ffmpeg", CreateVideo<1>));
    EXPECT_TRUE(registry.RegisterVideoEffect("flip", "other", CreateVideo<1>));
    EXPECT_FALSE(registry.RegisterVideoEffect("flip", "ffmpeg", CreateVideo<2>));
    for (auto const& [id, name, creator, missing] : {std::tuple("", "ffmpeg", &CreateVideo<1>, "class id"),
                                                     {"flip", "", &CreateVideo<1>, "implementation name"},
                                                     {"flip", "ffmpeg", nullptr, "creator"}})
        EXPECT_EQ(TextOf([&, &a = id, &b = name, &c = creator] { registry.RegisterVideoEffect(a, b, c); }),
                  std::string("Cannot register an effect without ") + missing + ": class id \"" + id +
                      "\", implementation \"" + name + "\"");
    ASSERT_EQ(registry.GetEntries().size(), 2U);
    EXPECT_EQ(std::get<Proc::VideoEffectCreator>(registry.GetEntries()[0].creator), CreateVideo<2>);
    EXPECT_EQ(registry.Find("flip", "other"), &registry.GetEntries()[1]);
}

} // namespace
