#include "Host/EffectFactory.h"

#include "Host/Doubles.h"
#include "Proc/Data/FactoryData.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Support/Failure.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

using namespace Tarsel;
using Proc::ImplNames;

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

    std::string GetMade(std::string const& implName) {
        auto const effect = m_factory->CreateVideoEffect("turn", implName, {});
        EXPECT_EQ(effect->GetRefCount(), 1);
        return effect->GetSettingsBase().GetClassId();
    }

    SP<Host::EffectFactory> m_factory;
};

TEST_F(EffectFactoryTest, MakesTheImplementationAskedForOrTheFirstOfItsKind) {
    EXPECT_EQ(GetMade("first"), "number 1");
    EXPECT_EQ(GetMade(ImplNames::FFMPEG), "number 2");
    EXPECT_EQ(GetMade(ImplNames::DEFAULT), "number 1"); // not the audio effect registered before it
}

TEST_F(EffectFactoryTest, HandsOutItselfAndADataFactory) {
    m_factory->CreateVideoEffect("turn", "first", {});
    EXPECT_EQ(s_givenFactory, m_factory);
    ASSERT_NE(s_givenData, nullptr);
    EXPECT_NE(s_givenData->Create({}, Conf::PixFmt::GRAY8, {2, 2, 1, 1}), nullptr);

    auto const own = MakeSP<Proc::FactoryDataVideo>();
    m_factory->CreateVideoEffect("turn", "first", own);
    EXPECT_EQ(s_givenData, own);
}

TEST_F(EffectFactoryTest, NamesWhatIsNotRegistered) {
    EXPECT_EQ(Tarsel::Test::TextOf([&] { m_factory->CreateVideoEffect("twist", ImplNames::DEFAULT, {}); }),
              "No video effect \"twist\" of implementation \"default\" is registered");
    EXPECT_EQ(Tarsel::Test::TextOf([&] { m_factory->CreateAudioEffect("turn", "first", {}); }),
              "No audio effect \"turn\" of implementation \"first\" is registered");
    EXPECT_EQ(Tarsel::Test::TextOf([&] { m_factory->CreateTwoInputVideoEffect("turn", "ffmpeg", {}); }),
              "No two-input video effect \"turn\" of implementation \"ffmpeg\" is registered");
    EXPECT_EQ(Tarsel::Test::TextOf([&] { m_factory->CreateAudioEffect("turn", "ffmpeg", {}); }),
              "The creator of the audio effect \"turn\" of implementation \"ffmpeg\" returned none");
    EXPECT_THROW(MakeSP<Host::EffectFactory>(nullptr), Proc::EffectException);
    EXPECT_THROW(m_factory->CreateTwoInputVideoEffect("mix", "ffmpeg", {}), std::range_error);
}

} // namespace
