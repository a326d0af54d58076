/* The mutex of src/support/synch/ConvoyFreeMutex.h and .cpp.
 *
 * Shown for 3 threads that take it up to twice each:
 *   - one at a time is inside;
 *   - nobody sleeps for ever, whoever stops coming (no lost wake-up);
 *   - WITH_FORK, where one of two forks and a further one exists in the child: the mark of a thread that tried in the
 *     parent does not keep the child from waking its own.
 *
 * Lock, TryForAWhile, TryBeforeSleep, Unlock and WakeUnlessOneTries are the functions of these names. The number of
 * tries, and whether a try sees a free mutex in time, is left open; a release passes sleepers over PASSES times in
 * place of 256.
 *
 * Memory order: the thread that stops trying clears mTrying and then looks at mState (at the latest where the system
 * compares it before the sleep), a release frees mState and then looks at mTrying. At least one of them sees the other
 * in the single order of sequentially consistent operations, which the code uses for these four. The acquire of lock's
 * first exchange is enough for what the mutex guards, and the sleepers' bit is in the same word. mPassedOver is relaxed
 * in the code: any value of it is right, since it only chooses between two ways that are both shown here.
 */
#ifdef WITH_FORK
#define THREADS 4
#define ROUNDS(thread) (thread == FORKER -> 2 : thread != 1)
#define MAY_FORK (me == FORKER && !gIsChild)
#else
#define THREADS 3
#define ROUNDS(thread) 2
#define MAY_FORK false
#endif
#define FORKER 2
#define PASSES 1

#define LOCKED 1
#define SLEEPERS 2
#define BOTH 3
#define ON_STATE 1

#include "Threads.pml"

byte mState, mTrying, mPassedOver;
byte gForkGeneration;

byte gInside;

#ifdef BREAK_MARK
#define MARK 1
#else
#define MARK (gForkGeneration + 1)
#endif

inline StopTrying()
{
    if
    :: isMarked -> isMarked = false; mTrying = 0
    :: else
    fi
}

/* With BREAK_END_OF_TRYING the mark stays until the thread has slept. */
inline TryForAWhile(beside)
{
    /* The load and the exchange that follows. */
    other = mTrying;
    if
    :: other != MARK ->
        atomic
        {
            isMarked = mTrying == other;
            mTrying = (isMarked -> MARK : mTrying)
        }
    :: else
    fi;
    other = 0;
    if
    :: isMarked || beside ->
        do
        :: atomic
            {
                (mState & LOCKED) == 0 ->
#ifdef BREAK_SLEEPERS
                mState = LOCKED;
#else
                mState = BOTH;
#endif
                isTaken = true
            }
            break
        :: break
        od;
#ifndef BREAK_END_OF_TRYING
        StopTrying()
#endif
    :: else
    fi
}

inline TryBeforeSleep()
{
    atomic { isTaken = (mState & LOCKED) == 0; mState = BOTH }
}

inline MutexLock()
{
    if
    :: atomic { mState == 0 -> mState = LOCKED }
    :: atomic { mState != 0 -> skip }
        do
        :: TryForAWhile(wasWoken);
            if
            :: isTaken
            :: else -> TryBeforeSleep()
            fi;
            if
            :: isTaken -> isTaken = false; StopTrying(); break
            :: else
            fi;
            Wait(mState, BOTH, ON_STATE);
            StopTrying();
            wasWoken = true
        od;
        wasWoken = false
    fi
}

inline WakeUnlessOneTries()
{
    passesOver = mTrying == MARK;
    if
    :: passesOver -> atomic { passesOver = mPassedOver < PASSES; mPassedOver = (passesOver -> mPassedOver + 1 : PASSES) }
    :: else
    fi;
    if
    :: passesOver -> passesOver = false
    :: else ->
        mPassedOver = 0;
        if
        :: atomic { mState == SLEEPERS -> mState = 0 }
           NotifyOne(ON_STATE)
        :: atomic { mState != SLEEPERS -> skip }
        fi
    fi
}

inline MutexUnlock()
{
    atomic { hadSleepers = (mState & SLEEPERS) != 0; mState = mState & SLEEPERS }
    if
    :: hadSleepers -> hadSleepers = false; WakeUnlessOneTries()
    :: else
    fi
}

inline Fork()
{
    if
    :: true
    :: BecomeChild();
       gForkGeneration++
    fi
}

active [THREADS] proctype Thread() provided (EXISTS(me))
{
    byte round, other;
    bool isTaken, isMarked, wasWoken, hadSleepers, passesOver;
    do
    :: round < ROUNDS(me) ->
        round++;
        MutexLock();
        atomic { gInside++; assert(gInside == 1) }
        if
        :: true
        :: MAY_FORK -> Fork()
        fi;
        gInside--;
        MutexUnlock()
    :: break
    od;
    gIsDone[me] = true
}
