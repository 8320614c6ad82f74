#include "Tools/Tarsel/Parts/PartWork.h"

#include "Core/Files.h"
#include "Core/Throw.h"
#include "Media/MediaExceptions.h"
#include "Tools/Tarsel/Arguments/Options.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Parts/Reach.h"
#include "Tools/Tarsel/Parts/RunSettings.h"

#include <fmt/format.h>

#include <string>
#include <utility>

namespace Tarsel::Tools {
void PartWork::CheckFiles(MediaArguments const& media) {
    auto const description = GetDescriptionPath(media.output).lexically_normal();
    for (auto const& [option, name] :
         {std::pair("--log", media.log), std::pair("--frame-facts", media.frameFacts)})
        if (!name.empty() && std::filesystem::path(name).lexically_normal() == description)
            Core::Throw<UsageException>(fmt::format(
                "{}: choose another file: \"{}\" is to hold the description of the part", option, name));
}

PartWork::PartWork(RunArguments const& arguments, PartNumber const& part, RunWork const& work,
                   Context const& context)
    : m_output(arguments.media.output), m_part{part.number, part.count} {
    Reach const reach = FindReach(work.GetPictureSteps());
    m_part.framesBefore = reach.before;
    m_part.framesAfter = reach.after;
    Media::RunOptions options = MakeOptions(work.GetOptions());
    options.overwrite = true; // what is there is looked at below
    Media::CheckRun(options);

    m_file.part = part;
    m_file.common = MakeCommon(arguments.media.input, work.GetReferences(),
                               SettingsToJson(arguments, context.options.plugin));
    LookForFormer(arguments.media.overwrite);
    if (!m_former)
        m_description = WholeFile(GetDescriptionPath(m_output), arguments.media.overwrite);
}

void PartWork::LookForFormer(bool mayReplace) {
    std::filesystem::path const description = GetDescriptionPath(m_output);
    if (!Core::FileExists(m_output) || !Core::FileExists(description))
        return;
    auto const refuse = [&](std::string const& reason) {
        if (!mayReplace)
            Core::Throw<Media::OptionsException>(
                fmt::format("\"{}\" exists already, made otherwise: {}", m_output.string(), reason),
                Media::TagMissingOption("overwrite"));
    };
    PartFile former;
    try {
        former = ReadPartFile(description);
    } catch (Media::InputException const& exception) {
        refuse(exception.what());
        return;
    }
    if (former.part != m_file.part)
        refuse("it is " + ToText(former.part));
    else if (std::string const other = FindDifference(former.common, m_file.common); !other.empty())
        refuse(other);
    else if (std::string const changed = FindDifference(m_output, former.identity); !changed.empty())
        refuse(changed);
    else {
        m_former.emplace();
        m_former->framesOut = former.facts.frames;
        m_former->bytes = static_cast<std::int64_t>(former.identity.bytes);
        m_former->videoEncoder = former.facts.encoder;
        m_former->notes.push_back(fmt::format("\"{}\" is {}, complete and made with the same settings: it "
                                              "stays as it is.",
                                              m_output.string(), ToText(former.part)));
    }
}

Media::RunOptions PartWork::MakeOptions(Media::RunOptions options) const {
    options.part = m_part;
    return options;
}

void PartWork::Publish(Media::RunResult const& result) {
    m_file.facts = result.part.value();
    m_file.identity = ReadIdentity(m_output);
    m_description.Write(WritePartFile(m_file));
    m_description.Publish();
}

} // namespace Tarsel::Tools
