#include "Check/Data.h"
#include "Conf/FormatCodecAudio.h"
#include "Conf/FormatCodecVideo.h"
#include "Core/ThreadBudget.h"
#include "Core/Throw.h"
#include "Faults/Allocator.h"
#include "Faults/Trial.h"
#include "Host/AudioChain.h"
#include "Host/ChainFile.h"
#include "Host/EffectStep.h"
#include "Host/ErrorReport.h"
#include "Host/StepPlan.h"
#include "Host/VideoChain.h"
#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Algorithms/AudioAlg/DataAudioRef.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Data/WrapMemory.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGAudioGenerator.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGTwoInputAudio.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGVideo.h"
#include "Proc/Effects/Lumenta/Pixels/ColorQuant.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameRoom.h"
#include "Support/LibraryEffects.h"

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <set>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using Check::Audio;
using Check::Video;

SP<Proc::IDataVideo> MakeFrame(int index = 0, Conf::PixFmt format = Conf::PixFmt::YUV420P) {
    return Check::MakeDatum(Video::Form{format}, index);
}

SP<Proc::IDataAudio> MakeBlock(int index = 0) {
    return Check::MakeDatum(Audio::Form(), index);
}

Conf::SampleInfo const s_info = Audio::Form().info;

std::string GetText(AVFrame const& frame) {
    return std::to_string(frame.width) + 'x' + std::to_string(frame.height) + ' ' +
           std::to_string(frame.nb_samples);
}

template <class Data>
std::string GetText(SP<Data> const& data) {
    return data ? Check::GetAll(*data) : "null";
}

/// What a stream makes of the data, whatever it is called with.
template <class Stream, class Data>
std::string RunThrough(Stream& stream, std::vector<SP<Data>> const& data) {
    std::string text;
    for (SP<Data> const& datum : data) {
        stream.Feed(datum);
        while (SP<Data> const result = stream.Take())
            text += GetText(result);
    }
    stream.End();
    while (SP<Data> const result = stream.Take())
        text += GetText(result);
    return text;
}

void ExpectSurvival(std::vector<Operation> const& operations) {
    Core::ThreadBudget::Set(1);
    TryEverywhere(operations);
}

/// Those that no effect has; the others are tried with the effects.
TEST(Graphs, SurviveEveryFailedAllocation) {
    auto const frames = std::vector{MakeFrame(0), MakeFrame(1)};
    auto const blocks = std::vector{MakeBlock(0), MakeBlock(1)};
    ExpectSurvival({
        MakeOperation("video stream",
                      [frames] {
                          auto const graph = Proc::EffectFFMPEGVideo::Create(
                              "framerate=fps=50", Check::MakeFormat(Video::Form()));
                          return RunThrough(*graph, frames);
                      }),
        MakeOperation("audio generator",
                      [] {
                          auto const generator = Proc::EffectFFMPEGAudioGenerator::Create(
                              "sine=frequency=440,volume@loud=1", s_info);
                          generator->SendCmd("volume@loud", "volume", "0.5");
                          return GetText(generator->Get());
                      }),
        MakeOperation("two audio streams",
                      [blocks] {
                          auto const graph =
                              Proc::EffectFFMPEGTwoInputAudio::Create("amultiply", s_info, s_info);
                          graph->PushLeft(blocks[0]);
                          graph->PushRight(blocks[1]);
                          graph->EndLeft();
                          graph->EndRight();
                          std::string text;
                          while (SP<Proc::IDataAudio> const block = graph->Pull())
                              text += GetText(block);
                          return text;
                      }),
    });
}

TEST(Wrappers, SurviveEveryFailedAllocation) {
    auto const frame = MakeFrame();
    auto const block = MakeBlock();
    AVFrame const& picture = *frame->GetAVFrame();
    ExpectSurvival({
        MakeOperation("frame with room", [&picture] { return GetText(*Proc::CopyWithRoomBehind(picture)); }),
        MakeOperation("copied data",
                      [frame] {
                          SP<Proc::IDataVideo> const copy = frame->Copy();
                          (void)copy->GetWritablePlane(0);
                          return GetText(copy);
                      }),
        MakeOperation("wrapped memory",
                      [frame, block] {
                          auto const released = std::make_shared<int>(0);
                          std::vector<Proc::ReadOnlyPlane> planes;
                          for (int plane = 0; plane < 3; ++plane)
                              planes.push_back(frame->GetReadOnlyPlane(plane));
                          auto const wrapped =
                              Proc::WrapPicture({}, Conf::PixFmt::YUV420P, frame->GetFrameInfo(), planes,
                                                [released] { ++*released; });
                          auto const samples = Proc::WrapSamples(
                              s_info, static_cast<int>(block->GetSampleCount()),
                              {Proc::GetReadOnlySamples(*block, 0), Proc::GetReadOnlySamples(*block, 1)}, {});
                          return GetText(wrapped) + GetText(samples);
                      }),
    });
}

SP<Proc::IDataVideo> MakeColors() {
    return MakeFrame(0, Conf::PixFmt::RGBA);
}

std::string Quantize(Proc::IDataVideo const& picture, int dither) {
    Proc::SafeFrame in = Proc::SafeFrame::Reference(*picture.GetAVFrame());
    in.MakeWritable();
    Proc::SafeFrame out({}, Conf::PixFmt::PAL8, 64, 48, 1, 1);
    Proc::ColorQuant::Process(*in, *out, picture.GetFrameInfo(), 255, dither, {});
    return GetText(SP<Proc::IDataVideo>(MakeSP<Proc::DataVideoFF>(std::move(out), picture.GetFrameInfo())));
}

TEST(Algorithms, QuantizerTellsThatItsHeapCannotGrow) {
    auto const picture = MakeColors();
    std::set<std::string> texts;
    for (std::int64_t number = 1; number == 1 || GetFailed().depth > 0; ++number) {
        Arm(number, Form::Once);
        try {
            (void)Quantize(*picture, 0);
        } catch (Proc::FilterException const& failure) {
            Disarm();
            texts.insert(failure.what());
        } catch (std::exception const&) { // of others
        }
        Disarm();
    }
    EXPECT_EQ(texts, std::set<std::string>{"Cannot realloc heap memmory"});
}

TEST(Algorithms, SurviveEveryFailedAllocation) {
    auto const blocks = std::vector{MakeBlock(0), MakeBlock(1)};
    auto const picture = MakeColors();
    std::vector<Operation> operations;
    for (int const dither : {0, 1})
        operations.push_back(
            MakeOperation("quantizer", [picture, dither] { return Quantize(*picture, dither); }));
    operations.push_back(MakeOperation("audio algorithms", [blocks] {
        Proc::AudioRef const first = Proc::GetPlaneRef(*blocks[0], 0);
        SP<Proc::DataAudioFF> const to = Proc::DataAudioFF::CreateBySampleCount(s_info, 1920);
        Proc::AudioRef const mixed = Proc::GetPlaneRef(*to, 0);
        Proc::MixAudio(mixed, {{first, 0.5}, {Proc::GetPlaneRef(*blocks[1], 0), 0.5}});
        Proc::VolumizeAudio(mixed, mixed, 2);
        Proc::ClipAudio(mixed, mixed);
        std::vector<double> samples;
        Proc::GetAudioSamples(mixed, 100, samples);
        return std::to_string(samples.at(0)) + std::to_string(Proc::EstimateLevel(mixed).rms);
    }));
    ExpectSurvival(operations);
}

TEST(Hosts, SurviveEveryFailedAllocation) {
    auto const frames = std::vector{MakeFrame(0), MakeFrame(1), MakeFrame(2)};
    auto const blocks = std::vector{MakeBlock(0), MakeBlock(1)};
    auto const& factory = *GetFactory();
    auto const makeVideo = [&factory](char const* text) {
        return Host::MakeVideoEffect(factory, Host::ParseEffectStep(text));
    };
    auto const makeAudio = [&factory](char const* text) {
        return Host::MakeAudioEffect(factory, Host::ParseEffectStep(text));
    };
    ExpectSurvival({
        MakeOperation("registration",
                      [] {
                          auto registry = std::make_shared<Host::EffectRegistry>();
                          Registrator(*registry);
                          return std::to_string(registry->GetEntries().size());
                      }),
        MakeOperation("video chain",
                      [frames, makeVideo] {
                          Host::VideoChain chain;
                          for (char const* const step :
                               {"negate", "rotate angle=30", "stabilizer path=a.trf", "flip horizontal=1"})
                              chain.Append(makeVideo(step));
                          std::string text = RunThrough(chain, frames);
                          for (std::string const& note : chain.GetNotes())
                              text += note;
                          return text + std::to_string(chain.GetStatistics().size());
                      }),
        MakeOperation("audio chain",
                      [blocks, makeAudio] {
                          Host::AudioChain chain;
                          for (char const* const step : {"echo", "resample rate=44100", "compressor ratio=4"})
                              chain.Append(makeAudio(step));
                          return RunThrough(chain, blocks);
                      }),
        MakeOperation("video segment with times",
                      [frames, makeVideo] {
                          Host::VideoChain chain;
                          chain.SetThreads(3);
                          for (char const* const text :
                               {"negate", "blur@0.03-0.1 sigma=1..3@0-0.1", "flip@0-0.08~0.03 horizontal=1"})
                              chain.Append(
                                  makeVideo(text), text, [text, makeVideo] { return makeVideo(text); },
                                  Host::ParseEffectStep(text).times);
                          return RunThrough(chain, frames);
                      }),
        MakeOperation("audio chain with times",
                      [blocks, makeAudio] {
                          Host::AudioChain chain;
                          char const* const text = "compressor@0.01-0.03~0.01 ratio=2..4@0-0.03";
                          chain.Append(
                              makeAudio(text), text, [text, makeAudio] { return makeAudio(text); },
                              Host::ParseEffectStep(text).times);
                          return RunThrough(chain, blocks);
                      }),
        MakeOperation("chain file",
                      [] {
                          return Host::WriteChain(Host::ReadChain(
                              R"({"version": 1, "steps": [{"effect": "blur", "from": 1, "fade": 0.5,
                                  "settings": {"sigma": {"points": [[0, 1], [2, 3.5]], "smooth": true}}},
                                  {"effect": "palette", "settings": {"colors": ["a", [1, 2]]}}]})"));
                      }),
        MakeOperation("plan",
                      [makeVideo] {
                          auto const plan =
                              Host::PlanStep(makeVideo("blur"), *Check::MakeFormat(Video::Form()));
                          return plan.idle + plan.description.value_or("none");
                      }),
        MakeOperation("error report",
                      [] {
                          try {
                              Core::Throw<Proc::EffectException>("broken", Proc::TagFFmpegError(-22),
                                                                 Proc::TagFilterText("a"));
                          } catch (Proc::EffectException const& failure) {
                              // Without memory for them the names on the stack are plainer.
                              return std::string(1, Host::DescribeErrorFully(failure).front());
                          }
                      }),
    });
}

} // namespace
} // namespace Tarsel::Test
