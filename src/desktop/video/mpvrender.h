// A player's render context: the news that a picture waits, and drawing it.
//
// The player announces pictures on a thread of its own; here that becomes one posted event, so OnNews
// runs on the UI thread, in which everything else must be called too. For OpenGL, its context must be
// current in every call but IsRunning. Nothing here blocks but Stop.

#pragma once

#include <QObject>

#include <atomic>
#include <functional>

struct mpv_handle;
struct mpv_render_context;
struct mpv_render_param;

class MpvRender : public QObject
{
public:
    MpvRender() = default;
    ~MpvRender() override;

    /// Makes the context from the zero-terminated Params. OnNews is called from the event loop when
    /// HasNewPicture is worth asking. False when the player does not take the parameters.
    bool Start(mpv_handle* pMpv, mpv_render_param* pParams, std::function<void()> OnNews);
    /// Frees the context; a video that plays is stopped by that, which takes up to 0.2 s.
    void Stop();
    bool IsRunning() const { return pContext != nullptr; }

    /// Whether a picture waits since the last call. Cheap when there is no news.
    bool HasNewPicture();
    /// Takes the picture that waits without drawing it, so that the player goes on. Draw shows it.
    void Take();
    /// Draws the newest picture to the target of the zero-terminated Params.
    void Draw(mpv_render_param* pParams);

    bool event(QEvent* pEvent) override;

private:
    static void OnUpdate(void* pSelf);

    mpv_render_context* pContext = nullptr;
    std::function<void()> News;
    /// Set on a thread of the player, taken on the UI thread.
    std::atomic<bool> bNewsWaits{false};
};
