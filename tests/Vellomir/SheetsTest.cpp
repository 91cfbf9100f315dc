#include "Vellomir/ContentView/ActivityView.h"
#include "Vellomir/ImageCropperView.h"
#include "Vellomir/ImagePicker.h"
#include "tests/Vellomir/ScreenFixture.h"

#include <thread>

namespace vellomir {

using archive::URL;
using test::Screen;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

/// Large pictures: their pixels are not in memory. Each call has its own pixels.
Picture sized(int width, int height, double scale = 1, Orientation orientation = Orientation::up) {
    const Bitmap bitmap{.width = width,
                        .height = height,
                        .bytesPerRow = static_cast<std::size_t>(width) * 4,
                        .pixels = std::make_shared<const std::byte>()};
    return Picture(bitmap, scale, orientation);
}

std::ptrdiff_t startOf(const Picture &part, const Picture &whole) {
    return part.bitmap().pixels.get() - whole.bitmap().pixels.get();
}

class Sheets : public testing::Test {
protected:
    void run() { job_.mainLoop.runPending(); }

    /// Picks a picture and leaves the picker, as its coordinator does.
    void pick(const Picture &picture) {
        view_.pickIconAction();
        view_.imagePicker().makeCoordinator()->imagePickerController(picture);
        run();
    }

    /// Presses "Zoom it" in a cropper of its own, and lets everything come of it that does.
    void zoom() {
        view_.imageCropperView().zoomIt();
        run();
    }

    /// Writes a picture's file, picks it and waits for the picker to close.
    void pickFile(const std::string &name, const std::string &content) {
        test::writeFile(job_.folder / name, content);
        pickFile(name);
    }

    void pickFile(const std::string &name) {
        view_.pickIconAction();
        view_.pickedImage(job_.folder.url(name));
        EXPECT_TRUE(view_.showImagePicker.get());
        while (view_.showImagePicker.get())
            run();
        run();
    }

    static std::string png() { return std::string(test::dot().pngData().text()); }

    Screen job_;
    AppLaunchView &view_ = job_.view;
};

// --- Sharing ----------------------------------------------------------------------------------

class ShareSheet : public Sheets {
protected:
    void SetUp() override {
        view_.modifiedFileURL.set(result_);
        view_.selectedFileURL.set(URL::file("/picked.ipa"));
        view_.showShareSheet.set(true);
    }

    const URL result_ = URL::file("/box/Documents/Notes2.ipa");
};

TEST_F(ShareSheet, OffersResultOnly) {
    const auto sheet = view_.activityView();
    ASSERT_TRUE(sheet);
    EXPECT_THAT(sheet->activityItems, ElementsAre(result_));
    EXPECT_FALSE(sheet->applicationActivities);
}

TEST_F(ShareSheet, EmptyWithoutResult) {
    view_.modifiedFileURL.set(std::nullopt);
    EXPECT_FALSE(view_.activityView());
}

TEST_F(ShareSheet, ClosesOnMainQueueAfterAnyOutcome) {
    const std::exception_ptr error = std::make_exception_ptr(std::runtime_error("no room"));
    for (const bool completed : {true, false}) {
        view_.showShareSheet.set(true);
        const auto coordinator = view_.activityView()->makeCoordinator(job_.mainLoop.queue());
        EXPECT_THAT(coordinator->parent.activityItems, ElementsAre(result_));
        std::thread([&] {
            coordinator->didFinishSharing(completed ? std::optional<std::string>("copy")
                                                    : std::nullopt,
                                          completed, std::nullopt, completed ? nullptr : error);
        }).join();
        EXPECT_TRUE(view_.showShareSheet.get());
        run();
        EXPECT_FALSE(view_.showShareSheet.get());
        EXPECT_EQ(view_.selectedFileURL.get(), URL::file("/picked.ipa")) << "onDismiss was called";
        EXPECT_EQ(view_.modifiedFileURL.get(), result_);
    }
    EXPECT_THAT(job_.console(), IsEmpty());
}

TEST_F(ShareSheet, DismissActionClearsPickedFile) {
    view_.activityView()->onDismiss();
    EXPECT_EQ(view_.selectedFileURL.get(), std::nullopt);
    EXPECT_EQ(view_.modifiedFileURL.get(), result_);
    EXPECT_TRUE(view_.showShareSheet.get());
}

TEST_F(ShareSheet, MayOutliveScreen) {
    auto job = std::make_unique<Screen>();
    job->view.modifiedFileURL.set(result_);
    const auto sheet = job->view.activityView();
    job.reset();
    EventLoop loop;
    sheet->makeCoordinator(loop.queue())->didFinishSharing({}, true, {}, nullptr);
    loop.runPending();
    sheet->onDismiss();
}

// --- Picking a picture ------------------------------------------------------------------------

using PhotoPicker = Sheets;

TEST_F(PhotoPicker, PickClosesPickerAndOpensCropper) {
    const Picture wide = sized(3000, 2000);
    view_.pickIconAction();
    EXPECT_TRUE(view_.showImagePicker.get());
    const ImagePicker picker = view_.imagePicker();
    EXPECT_EQ(picker.sourceType, ImagePicker::SourceType::photoLibrary);
    picker.makeCoordinator()->imagePickerController(wide);
    EXPECT_EQ(view_.selectedImage.get(), wide);
    EXPECT_FALSE(view_.showImagePicker.get());
    run();
    EXPECT_TRUE(view_.showImageCropper.get());
}

TEST_F(PhotoPicker, PickerClosesBeforeCropperOpens) {
    std::vector<std::string> events;
    view_.pickIconAction();
    run();
    const auto one = view_.showImagePicker.observe(
        [&](bool isShown) { events.emplace_back(isShown ? "picker opens" : "picker closes"); });
    const auto two = view_.showImageCropper.observe(
        [&](bool isShown) { events.emplace_back(isShown ? "cropper opens" : "cropper closes"); });
    view_.imagePicker().makeCoordinator()->imagePickerController(sized(2, 3));
    run();
    EXPECT_THAT(events, ElementsAre("picker closes", "cropper opens"));
}

TEST_F(PhotoPicker, NoPictureKeepsImage) {
    const Picture before = sized(2, 3);
    pick(before);
    view_.showImageCropper.set(false);
    for (const auto &none : {std::optional<Picture>(), std::optional<Picture>(Picture())}) {
        view_.pickIconAction();
        view_.imagePicker().makeCoordinator()->imagePickerController(none);
        run();
        EXPECT_EQ(view_.selectedImage.get(), before);
        EXPECT_FALSE(view_.showImagePicker.get());
        EXPECT_FALSE(view_.showImageCropper.get());
    }
}

TEST_F(PhotoPicker, CancellingDoesNotOpenCropper) {
    view_.pickIconAction();
    view_.imagePickerCancelled();
    run();
    EXPECT_FALSE(view_.showImagePicker.get());
    EXPECT_FALSE(view_.showImageCropper.get());
    EXPECT_EQ(view_.selectedImage.get(), std::nullopt);
}

TEST_F(PhotoPicker, DecodesFileInBackground) {
    pickFile("icon.png", png());
    const auto image = view_.selectedImage.get();
    ASSERT_TRUE(image);
    EXPECT_EQ(image->bitmap().width, 1);
    EXPECT_TRUE(view_.showImageCropper.get());
    EXPECT_THAT(job_.console(), IsEmpty());
    EXPECT_THAT(job_.log(), IsEmpty());
}

TEST_F(PhotoPicker, ReportsFileThatIsNoPicture) {
    pickFile("icon.png", "text");
    pickFile("missing");
    EXPECT_EQ(view_.selectedImage.get(), std::nullopt);
    EXPECT_FALSE(view_.showImageCropper.get());
    EXPECT_THAT(
        job_.console(),
        ElementsAre(testing::AllOf(StartsWith("Error reading picture: "),
                                   testing::HasSubstr((job_.folder / "icon.png").string())),
                    testing::AllOf(StartsWith("Error reading picture: "),
                                   testing::HasSubstr((job_.folder / "missing").string()))));
    EXPECT_THAT(job_.log(), IsEmpty());
}

TEST_F(PhotoPicker, CancellingStopsDecoding) {
    test::writeFile(job_.folder / "icon.png", png());
    view_.pickIconAction();
    view_.pickedImage(job_.folder.url("icon.png"));
    view_.imagePickerCancelled();
    test::finish(job_.background);
    run();
    EXPECT_EQ(view_.selectedImage.get(), std::nullopt);
    EXPECT_FALSE(view_.showImageCropper.get());
}

TEST_F(PhotoPicker, LastPickWins) {
    test::writeFile(job_.folder / "icon.png", png());
    view_.pickedImage(job_.folder.url("missing"));
    view_.pickedImage(job_.folder.url("icon.png"));
    test::finish(job_.background);
    run();
    EXPECT_TRUE(view_.selectedImage.get());
    EXPECT_THAT(job_.console(), IsEmpty());
}

TEST(PhotoDecoding, IsDroppedWithTheScreen) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "icon.png", test::dot().pngData().text());
    EventLoop loop;
    int lines = 0;
    for (int round = 0; round < 20; ++round) {
        BackgroundQueue background;
        AppLaunchView view({.sandbox = Sandbox(folder.url("box")),
                            .mainQueue = loop.queue(),
                            .backgroundQueue = background.queue(),
                            .console = [&lines](std::string_view) { ++lines; }});
        view.pickedImage(folder.url(round % 2 == 0 ? "icon.png" : "missing"));
        if (round > 10)
            std::this_thread::sleep_for(std::chrono::milliseconds(round - 10));
    }
    loop.runPending();
    EXPECT_EQ(lines, 0);
}

// --- Cropping ---------------------------------------------------------------------------------

using Cropper = Sheets;

TEST_F(Cropper, ReplacesPictureByCentredSquare) {
    for (const auto &[width, height, x, y] :
         {std::array{3000, 2000, 500, 0}, std::array{2000, 3000, 0, 500}}) {
        const Picture whole = sized(width, height, 2);
        pick(whole);
        ImageCropperView cropper = view_.imageCropperView();
        EXPECT_EQ(cropper.cropped, std::nullopt);
        cropper.zoomIt();
        const Picture square = view_.selectedImage.get().value();
        EXPECT_EQ(cropper.cropped, square);
        EXPECT_EQ(square.bitmap().width, 2000);
        EXPECT_EQ(square.bitmap().height, 2000);
        EXPECT_EQ(square.scale(), 2);
        EXPECT_EQ(startOf(square, whole), (y * width + x) * 4);
        EXPECT_FALSE(view_.showImageCropper.get());
        run();
    }
}

TEST_F(Cropper, SquareStaysWhole) {
    const Picture square = sized(1024, 1024);
    pick(square);
    EXPECT_TRUE(view_.showImageCropper.get());
    zoom();
    EXPECT_EQ(view_.selectedImage.get(), square);
    EXPECT_FALSE(view_.showImageCropper.get());
}

TEST_F(Cropper, KeepsEveryOrientation) {
    for (int value = 1; value <= 8; ++value) {
        const auto orientation = static_cast<Orientation>(value);
        const Picture whole = sized(30, 20, 3, orientation);
        const Picture square = ImageCropperView::cropImageToSquare(whole);
        EXPECT_EQ(square.orientation(), orientation);
        EXPECT_EQ(square.scale(), 3);
        EXPECT_EQ(startOf(square, whole), 5 * 4);
        pick(whole);
        zoom();
        EXPECT_EQ(view_.selectedImage.get(), square);
    }
}

TEST_F(Cropper, UseKeepsPictureWhole) {
    const Picture wide = sized(3000, 2000);
    pick(wide);
    view_.imageCropperView().use();
    run();
    EXPECT_EQ(view_.selectedImage.get(), wide);
    EXPECT_FALSE(view_.showImageCropper.get());
}

TEST_F(Cropper, OwnSquareDoesNotOpenIt) {
    int openings = 0;
    const auto observation =
        view_.showImageCropper.observe([&openings](bool isShown) { openings += isShown; });
    pick(sized(3000, 2000));
    EXPECT_EQ(openings, 1);
    zoom();
    EXPECT_FALSE(view_.showImageCropper.get());
    EXPECT_EQ(openings, 1);
}

TEST_F(Cropper, EveryPickOpensIt) {
    const Picture wide = sized(3000, 2000);
    const Picture square = sized(1024, 1024);
    for (const Picture &picture : {wide, wide, square, square, wide, sized(2, 3), square}) {
        pick(picture);
        EXPECT_TRUE(view_.showImageCropper.get());
        zoom();
        EXPECT_FALSE(view_.showImageCropper.get());
    }
    for (const Picture &picture : {square, wide, wide}) {
        pick(picture);
        EXPECT_TRUE(view_.showImageCropper.get());
        view_.imageCropperView().use();
        view_.removeImageAction();
        run();
        EXPECT_FALSE(view_.showImageCropper.get());
    }
}

TEST_F(Cropper, SameFileOpensItAgain) {
    pickFile("icon.png", png());
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(view_.showImageCropper.get());
        zoom();
        EXPECT_FALSE(view_.showImageCropper.get());
        pickFile("icon.png");
    }
}

TEST_F(Cropper, DoesNothingWithoutPicture) {
    ImageCropperView cropper = view_.imageCropperView();
    cropper.zoomIt();
    EXPECT_EQ(cropper.cropped, std::nullopt);
    view_.selectedImage.set(Picture());
    run();
    cropper.zoomIt();
    EXPECT_EQ(view_.selectedImage.get(), Picture());
    view_.selectedImage.set(sized(2, 3)); // whose predecessor has nothing to be cropped
    run();
    EXPECT_TRUE(view_.showImageCropper.get());
}

TEST(CropperDeathTest, PictureWithoutBitmapEndsTheProgram) {
    EXPECT_DEATH(static_cast<void>(ImageCropperView::cropImageToSquare(Picture())), "Fatal error");
}

} // namespace

} // namespace vellomir
