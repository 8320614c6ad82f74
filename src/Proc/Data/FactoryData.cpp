#include "Proc/Data/FactoryData.h"

#include "Proc/Data/DataAudioFF.h"
#include "Proc/Data/DataVideoFF.h"

namespace Tarsel::Proc {

SP<IDataVideo> FactoryDataVideo::Create(Conf::ColorSpace const& space, Conf::PixFmt format,
                                        Conf::FrameInfo const& info) const {
    return MakeSP<DataVideoFF>(space, format, info);
}

SP<IDataAudio> FactoryDataAudio::Create(Conf::SampleInfo const& info, int sampleCount) const {
    return DataAudioFF::CreateBySampleCount(info, sampleCount);
}

} // namespace Tarsel::Proc
