// One picture into a file of its own.

#include "Media/ImageWriter.h"

#include "Media/MediaExceptions.h"
#include "Media/VideoReader.h"
#include "Proc/Data/DataVideoFF.h"
#include "RunFixture.h"

#include <cstring>

namespace Tarsel::Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ImageFile : public RunFixture {
protected:
    static SP<Proc::IDataVideo> MakePicture() {
        auto picture =
            MakeSP<Proc::DataVideoFF>(Conf::ColorSpace(), Conf::PixFmt::RGB24, Conf::FrameInfo{33, 17, 1, 1});
        auto const plane = picture->GetWritablePlane(0);
        for (std::uint32_t row = 0; row < plane.rows; ++row)
            for (std::size_t i = 0; i < plane.rowBytes; ++i)
                plane.data[static_cast<std::ptrdiff_t>(row) * plane.lineSize +
                           static_cast<std::ptrdiff_t>(i)] = static_cast<std::uint8_t>(row * 40 + i * 7);
        return picture;
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
    for (std::string const name : {"out.png", "out.bmp", "out.tiff"}) {
        Media::ImageFileOptions const options{File(name), {}, false};
        EXPECT_THAT(Media::WriteImage(picture, options), IsEmpty());
        auto const read = Media::VideoReader(File(name)).GetShownAt(0);
        auto const expected = picture->GetReadOnlyPlane(0);
        auto const plane = read->GetReadOnlyPlane(0);
        ASSERT_EQ(plane.rowBytes, expected.rowBytes) << name;
        ASSERT_EQ(plane.rows, expected.rows);
        bool const isSwapped = read->GetPixelFormat() == Conf::PixFmt::BGR24;
        for (std::uint32_t row = 0; row < plane.rows; ++row)
            for (std::size_t i = 0; i < plane.rowBytes; ++i) {
                std::size_t const from = isSwapped ? i / 3 * 3 + 2 - i % 3 : i;
                ASSERT_EQ(plane.data[static_cast<std::ptrdiff_t>(row) * plane.lineSize +
                                     static_cast<std::ptrdiff_t>(i)],
                          expected.data[static_cast<std::ptrdiff_t>(row) * expected.lineSize +
                                        static_cast<std::ptrdiff_t>(from)])
                    << name;
            }
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
                                           "its name is none of a picture, as wave.png is");
    ExpectRefusal<Media::OutputException>({File("no/out.png"), {}, false},
                                          "there is no folder \"" + File("no").string() + "\"");
}

} // namespace
} // namespace Tarsel::Test
