// One picture into a file of its own.

#include "Media/ImageWriter.h"

#include "Media/MediaExceptions.h"
#include "Proc/Data/DataVideoFF.h"
#include "RunFixture.h"
#include "Support/Planes.h"
#include "Support/Process.h"

namespace Tarsel::Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ImageFile : public RunFixture {
protected:
    static SP<Proc::IDataVideo> MakePicture() {
        return MakeSP<Proc::DataVideoFF>(MakeNoise(Conf::PixFmt::RGB24, 33, 17),
                                         Conf::FrameInfo{33, 17, 1, 1});
    }

    template <class E>
    static void ExpectRefusal(Media::ImageFileOptions const& options, std::string const& reason) {
        for (bool const isTrial : {true, false}) {
            try {
                if (isTrial)
                    Media::CheckImageFile(options);
                else
                    Media::WriteImage(MakePicture(), options);
                ADD_FAILURE() << "nothing thrown";
            } catch (E const& exception) {
                EXPECT_EQ(exception.what(), "Cannot write \"" + options.output.string() + "\": " + reason);
            }
        }
    }
};

TEST_F(ImageFile, HoldsThePixels) {
    auto const picture = MakePicture();
    std::vector<std::uint8_t> const bytes = PlaneBytes(*picture->GetAVFrame(), 0);
    for (std::string const name : {"out.png", "out.bmp", "out.tiff"}) {
        EXPECT_THAT(Media::WriteImage(picture, {File(name), {}, false}), IsEmpty());
        EXPECT_EQ(RunFFmpeg("-i", {File(name)}, "-f rawvideo -pix_fmt rgb24 -"),
                  std::string(bytes.begin(), bytes.end()))
            << name;
    }
    // What a format cannot hold is told.
    EXPECT_THAT(Media::WriteImage(picture, {File("out.jpg"), {}, false}),
                ElementsAre("Pictures were converted from rgb24 to yuv444p for the encoder mjpeg."));
}

TEST_F(ImageFile, ReplacesNothingUnasked) {
    Media::ImageFileOptions options{File("out.png"), {File("in.wav")}, false};
    (void)Media::WriteImage(MakePicture(), options);
    ExpectRefusal<Media::OptionsException>(options, "it exists already and may not be overwritten");
    options.overwrite = true;
    (void)Media::WriteImage(MakePicture(), options);
    options.inputs.push_back(options.output);
    ExpectRefusal<Media::OptionsException>(options, "it is the input");
    ExpectRefusal<Media::OptionsException>({File("out.mp4"), {}, false},
                                           "its name is not that of a picture, as wave.png is");
    ExpectRefusal<Media::OutputException>({File("no/out.png"), {}, false},
                                          "there is no folder \"" + File("no").string() + "\"");
}

} // namespace
} // namespace Tarsel::Test
