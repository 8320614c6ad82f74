#include "Tools/Tarsel/Preview/AudioPreview.h"

#include "Media/AudioReader.h"
#include "Proc/Data/DataAudioFF.h"
#include "Tools/Tarsel/Audio/Waveform.h"

#include <fmt/format.h>

#include <algorithm>
#include <deque>
#include <utility>

namespace Tarsel::Tools {
namespace {

constexpr std::uint32_t s_usualWidth = 1280;
constexpr std::uint32_t s_lane = 120;
constexpr std::uint32_t s_spectrogramHeight = 240;

/// One row of the picture: a chain, null where it would do nothing, and what comes of it.
struct AudioRow {
    std::unique_ptr<Proc::IEffectStreamAudio> chain;
    AudioPicture picture;
    std::string label;

    void Feed(SP<Proc::IDataAudio> const& block) {
        if (!chain) {
            picture.Add(*block);
            return;
        }
        auto const own = MakeSP<Proc::DataAudioFF>(*block->GetAVFrame()); // each chain may keep its block
        own->SetTime(block->GetTime());
        own->SetDuration(block->GetDuration());
        chain->Feed(own);
        TakeAll();
    }

    void End() {
        if (!chain)
            return;
        chain->End();
        TakeAll();
    }

    void TakeAll() {
        while (SP<Proc::IDataAudio> const block = chain->Take())
            picture.Add(*block);
    }
};

} // namespace

AudioPicture::AudioPicture(Conf::SampleInfo const& format, std::uint32_t width)
    : m_format(format), m_levels{{format.layout.channels, 1, std::size_t{8} * width}}, m_spectrogram(format) {
}

void AudioPicture::Add(Proc::IDataAudio const& block) {
    AddBlock(block, m_levels);
    m_spectrogram.Add(block);
}

std::vector<Panel> AudioPicture::Draw(std::uint32_t width, std::string const& label) const {
    constexpr Color grid{120, 130, 140};
    constexpr std::uint32_t mostHeight = 960;
    LevelTrack const& levels = m_levels.front();
    auto const channels = static_cast<std::uint32_t>(levels.GetChannelCount());
    double const seconds = static_cast<double>(levels.GetStart(levels.GetRows().size())) / m_format.rate;
    RgbCanvas spectrogram({width, s_spectrogramHeight}, {});
    spectrogram.Draw({}, *m_spectrogram.Draw(width, s_spectrogramHeight));
    for (auto const& [hertz, name] : {std::pair(100.0, "100 Hz"), {1000.0, "1 kHz"}, {10000.0, "10 kHz"}}) {
        std::uint32_t const row = m_spectrogram.GetRow(hertz, s_spectrogramHeight);
        if (hertz >= m_format.rate / 2.0)
            continue;
        spectrogram.Fill({0, row}, {6, 1}, grid);
        spectrogram.Write({9, row - std::min(row, 3U)}, 1, name, grid);
    }
    return {{DrawWaveform(levels, width, std::min(s_lane * channels, mostHeight)),
             fmt::format("{}, {:.2f} s", label, seconds)},
            {spectrogram.GetPicture(), "frequencies, 100 dB from black to white"}};
}

PreviewResult DrawAudioPreview(ChainMaker& maker, Variants const& variants,
                               VideoPreviewRequest const& request,
                               std::function<void(std::int64_t, std::int64_t)> const& onTime,
                               std::stop_token const& stop) {
    Media::AudioReader reader(request.input, stop);
    std::uint32_t const whole = request.width != 0 ? request.width : s_usualWidth;
    std::uint32_t const width = std::max((whole - 3 * s_sheetGap) / 2, 1U);
    Media::AudioStreamInfo const& stream = reader.GetInfo();
    std::deque<AudioRow> rows;
    rows.push_back({nullptr, AudioPicture(stream.format, width), "before"});
    for (std::size_t i = 0; i < variants.steps.size(); ++i) {
        Media::AudioEffects effects = maker.MakeAudio(stream, variants.steps[i]);
        Conf::SampleInfo const format = effects.chain ? effects.output : stream.format;
        std::string const label =
            variants.labels[i].empty() ? DescribeSteps(variants.steps[i], {}) : variants.labels[i];
        rows.push_back({std::move(effects.chain), AudioPicture(format, width), label});
    }
    while (SP<Proc::IDataAudio> const block = reader.Next()) {
        std::int64_t const time = block->GetTime();
        for (AudioRow& row : rows)
            row.Feed(block);
        onTime(time, reader.GetDuration());
    }
    std::vector<std::vector<Panel>> panels;
    for (AudioRow& row : rows) {
        row.End();
        panels.push_back(row.picture.Draw(width, row.label));
    }
    PreviewResult result{DrawSheet(panels, request.width), reader.GetNotes()};
    for (std::string& note : maker.GetNotes())
        result.notes.push_back(std::move(note));
    return result;
}

} // namespace Tarsel::Tools
