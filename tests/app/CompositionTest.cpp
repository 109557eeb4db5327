#include <gtest/gtest.h>

#include <thread>

#include "app/Composition.h"
#include "dispatch/ManualMainQueue.h"
#include "environment/StringUtils.h"
#include "platform/Bundle.h"
#include "support/TempDir.h"
#include "ui/RichNotificationWCLocalizable.h"
#include "ui/qt/CustomButton.h"
#include "ui/qt/MultilineWordWrapTextField.h"

using namespace std::chrono_literals;

namespace {

// The real remains finder behind the window: its sizes, computed on worker
// threads and delivered through the main queue, reach the text, and its
// entries are what is handed over.
TEST(CompositionTest, SizesFromTheRemainsFinderReachTheWindow) {
    auto queue = std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue scoped(queue);
    testsupport::TempDir home;
    home.makeDir(".Trash/Photon.app");
    home.writeFile("Library/Caches/com.example.photon/cache.db", std::string(300'000, 'x'));

    auto environment = composition::notificationEnvironment();
    environment.offer.calculateIsCanShowNotificationForBundleWithID =
        [](const std::optional<std::string>&, std::function<void()> okBlock) { okBlock(); };
    environment.texts = std::make_shared<LocalizedStrings>(
        SWEEPWELL_RESOURCES, RichNotificationWCLocalizable::kTableName,
        std::vector<std::string>{"en"});
    std::vector<std::string> handedOver;
    environment.offer.removeFilePaths = [&](const auto& list) {
        for (const auto& entry : list) handedOver.push_back(entry->path());
    };
    auto controller = composition::createNotificationWindow(
        environment, PathsGenerator("user", home.path()), SimpleSizeCalculation::create());

    controller->showNotificationForApp(std::make_shared<platform::Bundle>(
        home / ".Trash/Photon.app",
        platform::PlistDictionary{{"CFBundleIdentifier", std::string("com.example.photon")}}));
    // The virtual clock keeps pace with the real one: idle workers look for
    // new work on a main-queue timer, and a task that arrives just as they
    // went idle waits for it.
    const auto deadline = std::chrono::steady_clock::now() + testsupport::kPatience;
    while (controller->offer().totalSize() < 300'000u &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(5ms);
        queue->advance(5ms);
    }
    const auto total = static_cast<std::int64_t>(controller->offer().totalSize());
    ASSERT_GE(total, 300'000);
    const std::string text = controller->subtitleLabel()->stringValue();
    EXPECT_NE(text.find(StringUtils::convertToStringFromFileSize(total)), std::string::npos)
        << text;

    controller->completeUninstallButton()->click();
    EXPECT_EQ(handedOver, (std::vector<std::string>{home / ".Trash/Photon.app",
                                                    home / "Library/Caches/com.example.photon"}));
}

}  // namespace
