#include "desktop/video/mpvrender.h"

#include <QCoreApplication>
#include <QEvent>

#include <array>
#include <mpv/render.h>
#include <utility>

MpvRender::~MpvRender()
{
    Stop();
}

bool MpvRender::Start(mpv_handle* pMpv, mpv_render_param* pParams, std::function<void()> OnNews)
{
    Stop();
    if (mpv_render_context_create(&pContext, pMpv, pParams) < 0)
    {
        pContext = nullptr;
        return false;
    }
    News = std::move(OnNews);
    bNewsWaits = false;
    mpv_render_context_set_update_callback(pContext, &MpvRender::OnUpdate, this);
    return true;
}

void MpvRender::Stop()
{
    if (pContext == nullptr)
    {
        return;
    }
    // First the callback: on return none is running any more.
    mpv_render_context_set_update_callback(pContext, nullptr, nullptr);
    mpv_render_context_free(std::exchange(pContext, nullptr));
}

bool MpvRender::HasNewPicture()
{
    return pContext != nullptr && bNewsWaits.exchange(false) &&
           (mpv_render_context_update(pContext) & MPV_RENDER_UPDATE_FRAME) != 0;
}

void MpvRender::Take()
{
    int one = 1;
    int zero = 0;
    std::array<mpv_render_param, 3> params = {{{MPV_RENDER_PARAM_SKIP_RENDERING, &one},
                                               {MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME, &zero},
                                               {MPV_RENDER_PARAM_INVALID, nullptr}}};
    mpv_render_context_render(pContext, params.data());
}

void MpvRender::Draw(mpv_render_param* pParams)
{
    mpv_render_context_render(pContext, pParams);
}

bool MpvRender::event(QEvent* pEvent)
{
    if (pEvent->type() != QEvent::User)
    {
        return QObject::event(pEvent);
    }
    if (pContext != nullptr)
    {
        News();
    }
    return true;
}

// On a thread of the player, which may hold its own locks meanwhile.
void MpvRender::OnUpdate(void* pSelf)
{
    auto* pRender = static_cast<MpvRender*>(pSelf);
    if (!pRender->bNewsWaits.exchange(true))
    {
        QCoreApplication::postEvent(pRender, new QEvent(QEvent::User));
    }
}
