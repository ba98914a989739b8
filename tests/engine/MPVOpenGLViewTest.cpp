#include "engine/MPVOpenGLView.h"

#include "engine/OpenGLVideoRenderer.h"
#include "fakes/FakeMpv.h"
#include "fakes/VirtualMainQueue.h"

#include <QGuiApplication>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QQuickWindow>
#include <QScreen>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace lumvik::test {
namespace {

constexpr std::uint64_t newFrame = MPV_RENDER_FRAME_INFO_PRESENT;

/// Provides a view that is attached to a player of the fake engine, in a window that has been
/// drawn.
class MPVOpenGLViewTest : public testing::Test {
  protected:
    void SetUp() override {
        window.setColor(Qt::black);
        window.resize(640, 360);
        view = new MPVOpenGLView(queue, window.contentItem());
        view->setSize(QSizeF(640, 360));
        view->setFrameRenderedHandler([this] { ++framesReported; });
        QObject::connect(&window, &QQuickWindow::frameSwapped, &window, [this] { ++swaps; });
        QObject::connect(&window, &QQuickWindow::widthChanged, &window,
                         [this] { view->setSize(window.size()); });
        window.show();
        ASSERT_TRUE(eventually([this] { return window.isExposed() && swaps > 0; }));
        ASSERT_EQ(view->configureWithMPV(player), 0);
        redraw();
        mpv.forgetCalls();
    }
    ~MPVOpenGLViewTest() override {
        delete view;
        mpv_terminate_destroy(player);
    }

    [[nodiscard]] static bool eventually(const std::function<bool()> &predicate) {
        return QTest::qWaitFor(predicate, 10000);
    }
    /// Draws the window again, in addition to any pending redraw.
    void redraw() {
        const int before = swaps;
        window.update();
        ASSERT_TRUE(eventually([&] { return swaps > before; }));
    }
    void hideWindow() {
        window.hide();
        ASSERT_TRUE(eventually([&] { return !window.isExposed(); }));
        mpv.forgetCalls();
    }
    [[nodiscard]] static bool drawsWithOpenGL() {
        return qEnvironmentVariable("LUMVIK_RENDERER") == QLatin1String("opengl");
    }
    /// Returns how often the engine draws when the window is redrawn without a new frame. With
    /// OpenGL, every redraw includes the picture. Otherwise the picture is kept, because drawing it
    /// takes most of the time of a redraw.
    [[nodiscard]] static std::size_t drawingsPerRedraw() { return drawsWithOpenGL() ? 1 : 0; }
    /// Returns the size in pixels that the engine was asked to draw.
    [[nodiscard]] static QSize drawnSize(const MpvRenderCall &call) {
        return drawsWithOpenGL() ? QSize(call.framebuffer.w, call.framebuffer.h)
                                 : QSize(call.softwareSize[0], call.softwareSize[1]);
    }
    /// Draws what the engine would draw for a green picture.
    static void paintGreen(const MpvRenderCall &call) {
        if (drawsWithOpenGL()) {
            QOpenGLFunctions *gl = QOpenGLContext::currentContext()->functions();
            gl->glClearColor(0, 1, 0, 1);
            gl->glClear(GL_COLOR_BUFFER_BIT);
            return;
        }
        const auto bytesPerLine = static_cast<qsizetype>(call.softwareStride);
        QImage image(static_cast<uchar *>(call.softwareBytes), call.softwareSize[0],
                     call.softwareSize[1], bytesPerLine, QImage::Format_RGB32);
        image.fill(Qt::green);
    }
    /// Returns the colour in the middle of the window, as shown on the screen.
    [[nodiscard]] QColor shownColour() const {
        const QImage image = window.screen()->grabWindow(window.winId()).toImage();
        return image.isNull() ? QColor() : image.pixelColor(image.rect().center());
    }

    FakeMpv mpv;
    VirtualMainQueue queue;
    mpv_handle *player = mpv_create();
    QQuickWindow window;
    MPVOpenGLView *view = nullptr;
    int swaps = 0;
    int framesReported = 0;
};

// ---- Attaching ----

TEST_F(MPVOpenGLViewTest, CreatesARendererAndSetsItsCallback) {
    view->shutdownRenderContext();
    mpv.forgetCalls();
    EXPECT_EQ(view->configureWithMPV(player), 0);
    EXPECT_EQ(mpv.liveRenderers(), 1);
    const std::string arguments = drawsWithOpenGL() ? "opengl, no context, X11 display" : "sw";
    EXPECT_EQ(mpv.texts(), (std::vector<std::string>{
                               "mpv_render_context_create(core 1, " + arguments + ")",
                               "mpv_render_context_set_update_callback(renderer 2, a callback)",
                           }));
}

TEST_F(MPVOpenGLViewTest, ReturnsTheEnginesErrorUnchanged) {
    view->shutdownRenderContext();
    mpv.setRenderContextCreateResult(-19);
    EXPECT_EQ(view->configureWithMPV(player), -19);
    EXPECT_EQ(mpv.liveRenderers(), 0);
}

TEST_F(MPVOpenGLViewTest, FreesTheOldRendererWhenAttachedAgain) {
    EXPECT_EQ(view->configureWithMPV(player), 0);
    EXPECT_EQ(mpv.liveRenderers(), 1);
    EXPECT_LT(mpv.position("mpv_render_context_free(renderer 1)"),
              mpv.position("mpv_render_context_create"));
}

TEST_F(MPVOpenGLViewTest, ClearsTheCallbackBeforeItFreesTheRenderer) {
    view->shutdownRenderContext();
    EXPECT_EQ(mpv.texts(), (std::vector<std::string>{
                               "mpv_render_context_set_update_callback(renderer 1, none)",
                               "mpv_render_context_free(renderer 1)",
                           }));
    EXPECT_EQ(mpv.liveRenderers(), 0);
    view->shutdownRenderContext();
    EXPECT_EQ(mpv.texts().size(), 2U) << "a second call must do nothing";
}

TEST_F(MPVOpenGLViewTest, DestructionFreesTheRenderer) {
    delete view;
    view = nullptr;
    EXPECT_EQ(mpv.liveRenderers(), 0);
}

TEST_F(MPVOpenGLViewTest, FindsOpenGLFunctions) {
    if (!drawsWithOpenGL())
        GTEST_SKIP() << "OpenGL is not used";
    auto *context = QOpenGLContext::currentContext();
    EXPECT_NE(lumvik_get_proc_address(nullptr, "glClear"), nullptr);
    if (context != nullptr)
        context->doneCurrent();
    EXPECT_EQ(lumvik_get_proc_address(nullptr, "glNoSuchFunctionAtAll"), nullptr);
}

using MPVOpenGLViewDeathTest = MPVOpenGLViewTest;

TEST_F(MPVOpenGLViewDeathTest, AttachingOffTheMainThreadTerminatesTheProcess) {
    EXPECT_DEATH(std::thread([&] { static_cast<void>(view->configureWithMPV(player)); }).join(),
                 "The renderer must be created on the main thread\\.");
}

TEST_F(MPVOpenGLViewDeathTest, DetachingOffTheMainThreadTerminatesTheProcess) {
    EXPECT_DEATH(std::thread([&] { view->shutdownRenderContext(); }).join(),
                 "The renderer must be destroyed on the main thread\\.");
}

// ---- Drawing ----

TEST_F(MPVOpenGLViewTest, ThreeUpdatesBeforeADrawingCauseOneDrawingAndOneReport) {
    for (int n = 0; n < 3; ++n)
        mpv.announceFrame(newFrame);
    EXPECT_EQ(queue.submittedCount(), 3U) << "the callback must only post";
    queue.runPending();
    EXPECT_EQ(framesReported, 0) << "the frame is still pending";
    EXPECT_TRUE(mpv.renderCalls().empty()) << "the frame is drawn in the next drawing cycle";
    ASSERT_TRUE(eventually([&] { return framesReported > 0; }));
    EXPECT_EQ(mpv.renderCalls().size(), 1U);
    redraw(); // this would be the third drawing if the view had scheduled a second one
    EXPECT_EQ(mpv.renderCalls().size(), 1U + drawingsPerRedraw());
    EXPECT_EQ(framesReported, 1);
}

TEST_F(MPVOpenGLViewTest, UpdatesFromOtherThreadsReachTheMainThread) {
    std::thread([&] { mpv.announceFrame(newFrame); }).join();
    queue.runPending();
    EXPECT_TRUE(eventually([&] { return framesReported == 1; }));
    for (const MpvCall &call : mpv.callsTo("mpv_render_context_update"))
        EXPECT_EQ(call.thread, std::this_thread::get_id());
}

TEST_F(MPVOpenGLViewTest, PassesTheParametersForDrawing) {
    mpv.announceFrame(newFrame);
    queue.runPending();
    ASSERT_TRUE(eventually([&] { return !mpv.renderCalls().empty(); }));
    const MpvRenderCall call = mpv.renderCalls().front();
    EXPECT_EQ(drawnSize(call), view->drawableSize());
    if (drawsWithOpenGL()) {
        EXPECT_EQ(call.framebuffer.fbo, 0);
        EXPECT_EQ(call.framebuffer.internal_format, 0);
        EXPECT_EQ(call.flipY, 1);
    } else {
        EXPECT_EQ(call.softwareFormat, "bgr0");
        EXPECT_GE(call.softwareStride, static_cast<std::size_t>(view->drawableSize().width()) * 4);
        EXPECT_EQ(call.softwareStride % 64, 0U) << "unaligned lines are converted more slowly";
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(call.softwareBytes) % 64, 0U);
    }
    EXPECT_EQ(call.blockForTargetTime, 0);
    EXPECT_NE(call.skipRendering, 1);
}

TEST_F(MPVOpenGLViewTest, ReportsTheSwapAfterTheDrawing) {
    mpv.announceFrame(newFrame);
    queue.runPending();
    ASSERT_TRUE(eventually([&] { return framesReported == 1; }));
    EXPECT_GE(mpv.position("mpv_render_context_render"), 0);
    EXPECT_GT(mpv.position("mpv_render_context_report_swap"),
              mpv.position("mpv_render_context_render"));
}

TEST_F(MPVOpenGLViewTest, ResizeAloneReportsNoFrame) {
    window.resize(800, 450);
    ASSERT_TRUE(eventually([&] {
        const auto calls = mpv.renderCalls();
        return !calls.empty() && drawnSize(calls.back()) == view->drawableSize() &&
               window.width() == 800;
    }));
    EXPECT_EQ(framesReported, 0);
}

TEST_F(MPVOpenGLViewTest, RedrawnRepeatedAndMissingFramesAreDrawnButNotReported) {
    for (const std::uint64_t info :
         {std::uint64_t{newFrame | MPV_RENDER_FRAME_INFO_REDRAW},
          std::uint64_t{newFrame | MPV_RENDER_FRAME_INFO_REPEAT}, std::uint64_t{0}}) {
        mpv.forgetCalls();
        mpv.announceFrame(info);
        queue.runPending();
        ASSERT_TRUE(eventually([&] { return !mpv.renderCalls().empty(); })) << info;
        redraw();
        EXPECT_EQ(framesReported, 0) << info;
    }
}

TEST_F(MPVOpenGLViewTest, NewFrameStaysPendingWhenARepeatFollowsBeforeTheDrawing) {
    mpv.announceFrame(newFrame);
    queue.runPending();
    mpv.announceFrame(newFrame | MPV_RENDER_FRAME_INFO_REPEAT);
    queue.runPending();
    EXPECT_TRUE(eventually([&] { return framesReported == 1; }));
}

TEST_F(MPVOpenGLViewTest, EveryFrameCountsAsNewWithoutFrameInformation) {
    mpv.setFrameInfoFails(true);
    mpv.announceFrame(0);
    queue.runPending();
    EXPECT_TRUE(eventually([&] { return framesReported == 1; }));
}

TEST_F(MPVOpenGLViewTest, UpdateWithoutAFrameDrawsNothing) {
    ASSERT_TRUE(mpv.fireUpdateCallback());
    queue.runPending();
    redraw();
    EXPECT_EQ(mpv.renderCalls().size(), drawingsPerRedraw())
        << "the only drawing is the one that this test requested";
    EXPECT_EQ(framesReported, 0) << "no frame is pending";
}

TEST_F(MPVOpenGLViewTest, FrameThatTheEngineCannotDrawDoesNotCountAsShown) {
    mpv.setRenderResult(MPV_ERROR_UNSUPPORTED);
    mpv.announceFrame(newFrame);
    queue.runPending();
    ASSERT_TRUE(eventually([&] { return !mpv.renderCalls().empty(); }));
    redraw();
    EXPECT_EQ(framesReported, 0) << "the watchdog would take the picture for live";
    EXPECT_EQ(shownColour(), QColor(Qt::black));
}

TEST_F(MPVOpenGLViewTest, DetachedViewDoesNotUseThePlayerAnyMore) {
    view->expectPicture(); // the rotation of the next stream is unknown
    view->shutdownRenderContext();
    mpv_terminate_destroy(std::exchange(player, nullptr));
    mpv.forgetCalls();
    redraw();
    EXPECT_TRUE(mpv.calls().empty());
}

TEST_F(MPVOpenGLViewTest, ReappearingWindowDrawsTheNewestFrame) {
    mpv.setPainter(&paintGreen);
    hideWindow();
    mpv.announceFrame(newFrame);
    queue.runPending();
    ASSERT_EQ(mpv.renderCalls().size(), 1U);
    EXPECT_EQ(mpv.renderCalls().back().skipRendering, 1);
    window.show();
    EXPECT_TRUE(eventually([&] {
        return mpv.renderCalls().size() > 1 && mpv.renderCalls().back().skipRendering != 1;
    })) << "the picture from before would look live";
    EXPECT_TRUE(eventually([&] { return shownColour() == QColor(Qt::green); }));
}

TEST_F(MPVOpenGLViewTest, HandlerMayClearItselfWhileItRuns) {
    view->setFrameRenderedHandler([this, marker = std::make_shared<int>(5)] {
        view->setFrameRenderedHandler(nullptr);
        framesReported += *marker; // the sanitizer would detect a use of the freed capture
    });
    mpv.announceFrame(newFrame);
    queue.runPending();
    EXPECT_TRUE(eventually([&] { return framesReported == 5; }));
}

TEST_F(MPVOpenGLViewTest, DetachedViewIsBlackAndIgnoresLateUpdates) {
    mpv.setPainter(&paintGreen);
    mpv.announceFrame(newFrame);
    queue.runPending();
    ASSERT_TRUE(eventually([&] { return shownColour() == QColor(Qt::green); }));

    mpv.announceFrame(newFrame); // posted before the view is detached
    view->shutdownRenderContext();
    mpv.forgetCalls();
    queue.runPending();
    EXPECT_TRUE(mpv.calls().empty());
    EXPECT_TRUE(eventually([&] { return shownColour() == QColor(Qt::black); }));
    EXPECT_EQ(framesReported, 1) << "the late frame is neither pending nor reported";
}

TEST_F(MPVOpenGLViewTest, PendingUpdateIsIgnoredAfterTheViewIsDestroyed) {
    mpv.announceFrame(newFrame);
    delete view;
    view = nullptr;
    queue.runPending();
    EXPECT_EQ(framesReported, 0);
}

TEST_F(MPVOpenGLViewTest, HiddenWindowFetchesFramesWithoutDrawingThem) {
    hideWindow();
    for (int frame = 1; frame <= 3; ++frame) {
        mpv.announceFrame(newFrame);
        queue.runPending();
        ASSERT_EQ(mpv.renderCalls().size(), static_cast<std::size_t>(frame));
        EXPECT_EQ(mpv.renderCalls().back().skipRendering, 1);
        EXPECT_EQ(mpv.renderCalls().back().blockForTargetTime, 0);
        EXPECT_EQ(mpv.callsTo("mpv_render_context_report_swap").size(),
                  static_cast<std::size_t>(frame));
        EXPECT_EQ(framesReported, frame);
    }
}

TEST_F(MPVOpenGLViewTest, HiddenWindowReportsNoRepeatedFrame) {
    hideWindow();
    mpv.announceFrame(newFrame | MPV_RENDER_FRAME_INFO_REPEAT);
    queue.runPending();
    EXPECT_EQ(mpv.renderCalls().size(), 1U);
    EXPECT_EQ(framesReported, 0);
}

TEST_F(MPVOpenGLViewTest, LossOfGraphicsFreesTheRendererAtOnceAndIsReportedLater) {
    int lost = 0;
    int restored = 0;
    view->setGraphicsHandlers([&] { ++lost; }, [&] { ++restored; });
    // A test cannot cause the loss of a graphics device, so it emits the signals that Qt would
    // emit.
    Q_EMIT window.sceneGraphInvalidated();
    EXPECT_EQ(mpv.liveRenderers(), 0);
    EXPECT_EQ(lost, 0);
    queue.runPending();
    EXPECT_EQ(lost, 1);
    Q_EMIT window.sceneGraphInitialized();
    EXPECT_EQ(restored, 0);
    queue.runPending();
    EXPECT_EQ(restored, 1);
    Q_EMIT window.sceneGraphInitialized();
    queue.runPending();
    EXPECT_EQ(restored, 1) << "the return is reported once for each loss";
}

TEST_F(MPVOpenGLViewTest, DetachedViewReportsOnlyTheReturnOfItsGraphics) {
    int lost = 0;
    int restored = 0;
    view->setGraphicsHandlers([&] { ++lost; }, [&] { ++restored; });
    view->shutdownRenderContext();
    Q_EMIT window.sceneGraphInvalidated();
    Q_EMIT window.sceneGraphInitialized();
    queue.runPending();
    EXPECT_EQ(lost, 0) << "no player was attached";
    EXPECT_EQ(restored, 1) << "a player that waits for graphics can then start";
}

TEST_F(MPVOpenGLViewTest, ForgottenPictureIsNeitherShownNorReported) {
    view->forgetPicture();
    mpv.announceFrame(newFrame);
    queue.runPending();
    ASSERT_TRUE(eventually([&] { return !mpv.renderCalls().empty(); }));
    redraw();
    EXPECT_EQ(framesReported, 0);
    for (const MpvRenderCall &call : mpv.renderCalls())
        EXPECT_EQ(call.skipRendering, 1);
    view->expectPicture();
    mpv.forgetCalls();
    mpv.announceFrame(newFrame);
    queue.runPending();
    EXPECT_TRUE(eventually([&] { return framesReported == 1; }));
    EXPECT_EQ(mpv.renderCalls().back().skipRendering, 0);
}

// ---- Pixels ----

TEST_F(MPVOpenGLViewTest, RendersIntoTheWindowsPixels) {
    EXPECT_EQ(view->drawableSize(), QSize(640, 360) * window.devicePixelRatio());
}

/// CMakeLists.txt also registers this test with other scales.
TEST_F(MPVOpenGLViewTest, SoftwareRendererShowsEachPixelOfTheEngineUnchanged) {
    if (drawsWithOpenGL())
        GTEST_SKIP() << "OpenGL draws directly into the window";
    const auto pattern = [](int x, int y) {
        return qRgb(x % 251, y % 241, (x + y) % 2 == 0 ? 0 : 255);
    };
    mpv.setPainter([&](const MpvRenderCall &call) {
        auto *line = static_cast<uchar *>(call.softwareBytes);
        for (int y = 0; y < call.softwareSize[1]; ++y, line += call.softwareStride) {
            for (int x = 0; x < call.softwareSize[0]; ++x)
                reinterpret_cast<QRgb *>(line)[x] = pattern(x, y);
        }
    });
    mpv.announceFrame(newFrame);
    queue.runPending();
    const QSize size = view->drawableSize();
    QString difference;
    EXPECT_TRUE(eventually([&] {
        const QImage shown = window.screen()->grabWindow(window.winId()).toImage();
        difference = QStringLiteral("the window has another size");
        if (shown.width() < size.width() || shown.height() < size.height())
            return false;
        for (int y = 0; y < size.height(); ++y) {
            for (int x = 0; x < size.width(); ++x) {
                if (shown.pixel(x, y) != pattern(x, y)) {
                    difference = QStringLiteral("pixel %1, %2 differs").arg(x).arg(y);
                    return false;
                }
            }
        }
        return true;
    })) << qPrintable(difference);
}

/// CMakeLists.txt registers this test separately, with QT_SCALE_FACTOR=2.
TEST_F(MPVOpenGLViewTest, RendersTwiceTheSizeAtScaleTwo) {
    if (window.devicePixelRatio() != 2)
        GTEST_SKIP() << "QT_SCALE_FACTOR=2 is required";
    mpv.announceFrame(newFrame);
    queue.runPending();
    ASSERT_TRUE(eventually([&] { return !mpv.renderCalls().empty(); }));
    EXPECT_EQ(drawnSize(mpv.renderCalls().front()), QSize(1280, 720));
}

} // namespace
} // namespace lumvik::test
