/* The pins of src/root/ModuleAccess.cpp, and how src/module/Initializer.cpp ends the module that they hold.
 *
 * Shown for 3 threads with a counter each, which pin the module, make and end an Initializer, inside a pin too, and one
 * of which forks:
 *   - nobody uses a module that is being destroyed or has been;
 *   - there is one module at a time, and none is left when all Initializers have ended;
 *   - nobody waits for ever, also in the child of a fork that fell into the start or the end of a module.
 *
 * Pin and Unpin are ModulePin's constructor and destructor, MakeInitializer and EndInitializer those of Initializer;
 * the others have the names of the functions. A pin within a pin only raises a number of its own thread and is left out.
 *
 * Memory order: a pin raises its counter and then looks for the module, the end hides the module and then looks at the
 * counters, so at least one of them sees the other. That holds in the single order of sequentially consistent
 * operations, which the code uses for all of these. useCount and pModule are guarded by the lock word.
 */
#define THREADS 3
#define FORKER 2
#define ROUNDS 2
#define MODULES 4

#include "Threads.pml"

/* Modules are numbered from 1, 0 is null. */
byte gPublishedModule, gModule, gMade, gUseCount;
bool gLockWord;
byte gCounters[THREADS];

bool gIsDestroyed[MODULES + 1];
byte gLockHolder;

inline TakeLockWord()
{
    atomic { !gLockWord -> gLockWord = true; gLockHolder = me }
}

inline FreeLockWord()
{
    gLockWord = false
}

inline Pin()
{
    if
    :: gPublishedModule != 0 ->
#ifdef BREAK_ORDER
        module = gPublishedModule;
        gCounters[me]++;
#else
        gCounters[me]++;
        module = gPublishedModule;
#endif
        if
        :: module == 0 -> gCounters[me]--
        :: else
        fi
    :: gPublishedModule == 0
    fi;
    isInside = true
}

inline Unpin()
{
    isInside = false;
    if
    :: module != 0 -> module = 0; gCounters[me]--
    :: else
    fi;
    if
    :: isToEnd -> isToEnd = false; EndUnusedModule()
    :: else
    fi
}

inline Use()
{
    assert(module == 0 || !gIsDestroyed[module])
}

/* NoneIsHeld looks at one counter after the other. */
inline EndIfNobodyIsInside()
{
    isSettled = true;
    if
    :: gUseCount == 0 && gModule != 0 ->
#ifndef BREAK_HIDING
        gPublishedModule = 0;
#endif
        for (counter : 0 .. THREADS - 1)
        {
            isSettled = isSettled && gCounters[counter] == 0
        }
        counter = 0;
        if
        :: isSettled ->
            gIsDestroyed[gModule] = true;
            gModule = 0
#ifdef BREAK_HIDING
            ;gPublishedModule = 0
#endif
        :: else
        fi
    :: else
    fi
}

/* The code tries again after a millisecond, here when another try has something new to see. */
inline EndUnusedModule()
{
    if
    :: isInside -> isToEnd = true
    :: else ->
        do
        :: TakeLockWord();
           EndIfNobodyIsInside();
           FreeLockWord();
           if
           :: isSettled -> isSettled = false; break
           :: else -> (gCounters[0] + gCounters[1] + gCounters[2] == 0 || gUseCount != 0)
           fi
        od
    fi
}

inline MakeInitializer()
{
    TakeLockWord();
    if
    :: gModule == 0 ->
        atomic { gMade++; assert(gMade <= MODULES) }
        gModule = gMade
    :: else
    fi;
    gUseCount++;
    gPublishedModule = gModule;
    FreeLockWord()
}

inline EndInitializer()
{
    TakeLockWord();
    gUseCount--;
    isLast = gUseCount == 0;
    FreeLockWord();
    if
    :: isLast -> isLast = false; EndUnusedModule()
    :: else
    fi
}

inline ForgetOtherThreads()
{
#ifndef BREAK_COUNTERS_IN_CHILD
    for (counter : 0 .. THREADS - 1) { gCounters[counter] = 0 }
    counter = 0;
    if
    :: module != 0 -> gCounters[me] = 1
    :: else
    fi;
#endif
#ifndef BREAK_LOCK_WORD_IN_CHILD
    if
    :: gLockWord && gLockHolder != me ->
        if
        :: gUseCount == 0 -> gPublishedModule = 0; gModule = 0
        :: else
        fi;
        gLockWord = false
    :: else
    fi
#endif
}

inline Fork()
{
    if
    :: true
    :: BecomeChild();
       ForgetOtherThreads()
    fi
}

/* At most MODULES modules can come into being: each thread has as many Initializers as it has rounds. */
active [THREADS] proctype Thread() provided (EXISTS(me))
{
    byte round, module, counter;
    bool isInside, isToEnd, isSettled, isLast;
    do
    :: round < ROUNDS ->
        round++;
        if
        :: Pin();
           Use();
           if
           :: true
           :: me == FORKER && !gIsChild -> Fork()
           :: me != 1 -> MakeInitializer(); EndInitializer()
           fi;
           Use();
           Unpin()
        :: me != 1 ->
           MakeInitializer();
           if
           :: true
           :: me == FORKER && !gIsChild -> Fork()
           fi;
           EndInitializer()
        fi
    :: break
    od;
    gIsDone[me] = true
}

/* In the child another thread's Initializer counts for ever. */
active proctype WatchModules()
{
    (gIsDone[0] && gIsDone[1] && gIsDone[2]) ->
    assert(gPublishedModule == 0 && gModule == 0 && gUseCount == 0);
    assert(gMade == 0 || gIsDestroyed[gMade])
}
