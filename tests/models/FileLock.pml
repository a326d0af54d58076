/* How the threads of a process pass the lock on a log file on to each other: src/destination/LogFile.h and the stays in
 * src/destination/Destination_DiskFile_Impl.h, with the section of src/support/synch/ForkableSection.h.
 *
 * Shown for 2 threads, of which one forks, a further one in the child, and another process:
 *   - one at a time writes, and only with the lock of its own open file;
 *   - nobody waits for ever, and no lock is left held when nobody comes;
 *   - in the child of a fork no lock is held that it has not taken, also if a thread of the parent waits for it;
 *   - WITH_ENDLESS, where the threads write and look at the settings without end: the other process gets its turn.
 *
 * Write is a message, Look and Change are the operations on settings, LockFile is LogFile::Lock; the other names are
 * those of the code. The mutex of the section is taken to be right (ConvoyFreeMutex.pml): a thread waits marked, which
 * is what IsTriedFor sees, or asleep, and goes to sleep only while somebody has the mutex. The system's lock belongs to
 * an open file. WITH_ENDLESS it goes to the process that waits, and the mutex to a thread that was passed over. LIMIT
 * records in place of 8 are the most under one lock; whether their writes took long is left open.
 *
 * Memory order: all is guarded by the mutex, but for mTurn, which is sequentially consistent in the code.
 */
#define THREADS 4
#define FORKER 1
#define OTHER 3
#define EXISTS(thread) (thread == OTHER || (gIsChild -> thread >= FORKER : thread <= FORKER))
#define LIMIT 2
#define ON_TURN 1

#ifdef WITH_ENDLESS
#define ROUNDS 1
#define IS_ENDLESS (me != OTHER)
#define MAY_FORK false
ltl OtherGetsIn { <> gIsDone[OTHER] }
#else
#define ROUNDS (me == 0 || me == OTHER -> 2 : 1)
#define IS_ENDLESS false
#define MAY_FORK (me == FORKER && !gIsChild)
#endif

/* Open files. */
#define PARENTS 1
#define CHILDS 2
#define OTHERS 3

#include "Threads.pml"

bool gMutex;
bool gTries[THREADS];
bool gWaits[THREADS];
byte gNext;                 /* who has been passed over, as a thread's number plus 1 */
bool gIsPassedOver;
byte gHolder;               /* mpHolder, as a thread's number plus 1 */
byte gTurn;
byte gFile = PARENTS;       /* that the process has open */
bool gHasLock;              /* mFileLock */
byte gRecords;

byte gOwner;                /* the file that has the system's lock, or 0 */
bool gOtherWaits;
byte gWriting;

inline Enter()
{
    gWaits[me] = true;
    if
    :: gTries[me] = true
    :: true
    fi;
    do
    :: atomic
        {
            !gMutex && (gNext == 0 || gNext == me + 1) ->
            gMutex = true;
            gNext = 0;
            gTries[me] = false;
            gWaits[me] = false;
            break
        }
    :: atomic { gMutex && gTries[me] -> gTries[me] = false }
    od
}

/* Two threads without end pass each other over once in a row. */
inline Leave()
{
#ifdef WITH_ENDLESS
    d_step
    {
        gNext = (gWaits[1 - me] && gIsPassedOver -> 2 - me : 0);
        gIsPassedOver = gWaits[1 - me] && !gIsPassedOver;
        gMutex = false
    }
#else
    gMutex = false
#endif
}

inline Hold()
{
    Enter();
    do
    :: gHolder == 0 -> break
    :: else -> turn = gTurn; Leave(); Wait(gTurn, turn, ON_TURN); Enter()
    od;
    turn = 0;
    gHolder = me + 1
}

inline EndHold()
{
    gHolder = 0;
    Leave();
    if
    :: hadGap ->
        hadGap = false;
        gTurn = (gTurn + 1) % 4;
#ifndef BREAK_TURN
        NotifyAll(ON_TURN)
#endif
    :: else
    fi
}

inline LockSystem(file) { atomic { gOwner == 0 || gOwner == file -> gOwner = file } }

inline UnlockSystem()
{
#ifdef WITH_ENDLESS
    gOwner = (gOtherWaits -> OTHERS : 0)
#else
    gOwner = 0
#endif
}

inline LockFile()
{
    if
    :: gHasLock
    :: else ->
        if
        :: LockSystem(gFile)
        :: true ->
            hadGap = true;
#ifdef BREAK_GAP
            gHolder = 0;
#endif
            Leave();
            LockSystem(gFile);
            Enter()
        fi;
        gHasLock = true;
        gRecords = 0
    fi
}

inline Release()
{
    if
    :: gHasLock -> gHasLock = false; UnlockSystem()
    :: else
    fi
}

#ifdef BREAK_AWAITED
#define IS_TRIED_FOR true
#else
#define IS_TRIED_FOR (gTries[0] || gTries[1] || gTries[2])
#endif
#ifdef BREAK_RECORDS
#define ARE_MANY false
#else
#define ARE_MANY (gRecords >= LIMIT)
#endif

inline ReleaseUnlessAwaited()
{
    if
    :: !ARE_MANY && IS_TRIED_FOR
    :: true -> Release()
    fi
}

/* One that fails releases the lock. */
inline Write()
{
    Hold();
    LockFile();
    atomic { gWriting++; assert(gWriting == 1 && gOwner == gFile) }
    gWriting--;
    if
    :: gRecords = (gRecords < LIMIT -> gRecords + 1 : LIMIT); ReleaseUnlessAwaited()
    :: true -> Release()
    fi;
    EndHold()
}

inline Change()
{
    Hold();
#ifdef BREAK_CHANGE
    ReleaseUnlessAwaited();
#else
    Release();
#endif
    EndHold()
}

inline Look()
{
    Enter();
#ifdef BREAK_LOOK
    ReleaseUnlessAwaited();
#else
    Release();
#endif
    Leave()
}

inline Fork()
{
    Enter();
#ifndef BREAK_PREPARE
    Release();
#endif
    if
    :: true
    :: BecomeChild();
       d_step
       {
           gHolder = 0;
#ifndef BREAK_MARK
           gTries[0] = false;
#endif
#ifndef BREAK_REOPEN
           gFile = CHILDS;
#endif
       }
    fi;
    Leave()
}

active [THREADS] proctype Thread() provided (EXISTS(me))
{
    byte round, turn;
    bool hadGap;
    do
    :: round < ROUNDS ->
        round = (IS_ENDLESS -> 0 : round + 1);
        if
        :: me == OTHER ->
            gOtherWaits = true;
            LockSystem(OTHERS);
            gOtherWaits = false;
            atomic { gWriting++; assert(gWriting == 1) }
            gWriting--;
            gOwner = 0
        :: me != OTHER -> Write()
        :: me != OTHER -> Change()
        :: me != OTHER -> Look()
        :: MAY_FORK -> Fork()
        fi
    :: else -> break
    od;
    gIsDone[me] = true
}

/* What a thread of the parent had, or gets in its gap, is released there. */
active proctype Parent() provided (gIsChild)
{
    do
    :: atomic { gOwner == PARENTS -> gOwner = 0 }
    od
}
