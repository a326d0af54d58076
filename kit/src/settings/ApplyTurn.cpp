#include "settings/ApplyTurn.h"

#include <QzBase/Message.h>

#include <memory>
#include <mutex>

#include <pthread.h>

namespace QzLogKit
{
    namespace
    {
        thread_local bool gHasTurn = false;

        constinit std::mutex gLock;

        void FreeInChild()
        {
            if (!gHasTurn)
                std::construct_at(&gLock);
        }

        // When the library is loaded, so that no fork happens during the first call.
        [[maybe_unused]] int const gForksAreWatched = pthread_atfork(nullptr, nullptr, &FreeInChild);
    }

    ApplyTurn::ApplyTurn()
    {
        if (gHasTurn)
            throw QzBase::ExceptionImpl<QzBase::Message>(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1,
                "Settings cannot be put in force while the same thread is doing that already.");
        gLock.lock();
        gHasTurn = true;
    }

    ApplyTurn::~ApplyTurn()
    {
        gHasTurn = false;
        gLock.unlock();
    }
}
