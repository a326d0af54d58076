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

        /// Never destroyed: static objects of others may still use it then.
        std::mutex& GetLock()
        {
            static std::mutex& lock = *new std::mutex;
            return lock;
        }

        void FreeInChild()
        {
            if (!gHasTurn)
                std::construct_at(&GetLock());
        }
    }

    ApplyTurn::ApplyTurn()
    {
        [[maybe_unused]] static int const registered = pthread_atfork(nullptr, nullptr, &FreeInChild);
        if (gHasTurn)
            throw QzBase::ExceptionImpl<QzBase::Message>(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1,
                "Settings cannot be put in force while the same thread is doing that already.");
        GetLock().lock();
        gHasTurn = true;
    }

    ApplyTurn::~ApplyTurn()
    {
        gHasTurn = false;
        GetLock().unlock();
    }
}
