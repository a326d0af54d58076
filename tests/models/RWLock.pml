/* The readers-writer lock of src/support/synch/RWLock.cpp.
 *
 * Shown for 3 threads that read and write as often as they like up to ROUNDS times, two of them with one counter:
 *   - a writer is alone;
 *   - nobody waits for ever, whoever stops coming (no lost wake-up);
 *   - a reader that waits is passed by one writer at most;
 *   - a thread that forks can read amid the fork, and its child finds the lock free;
 *   - WITH_STREAM_OF_READERS: a writer gets in although two readers come again and again for ever. (Among writers
 *     mWriters decides, a std::mutex.)
 *
 * The steps of EnterRead, WaitForWriter, StepBack, EnterWrite and LeaveWrite are those of the functions of these names;
 * HoldForFork and GiveBackAfterFork likewise. Memory order: reader and writer meet in the manner of Dekker, on mReaders
 * and mWriter, so both need the single order of sequentially consistent operations. The code uses that order, the
 * default, for all of them. What is plain here and there (mWaiting) is under mGate. mTurn is one bit here: a reader
 * that noted a turn is counted as inside by the first writer that leaves, so that no second one leaves before it.
 */
#define THREADS 3
#define FORKER 2
#define SLOTS 2
#define SLOT (me % SLOTS)

#define ON_TURN 1
#define ON_READERS 2

#include "Threads.pml"

byte mReaders[SLOTS], mWaiting[SLOTS];
bool mWriter, mWriters, mGate, mIsHeldForFork;
bit mTurn;

byte gReadersInside, gWritersInside;
bool gIsQueued[THREADS];
byte gWritersThatPassed[THREADS];

inline StepBack()
{
    atomic { left = mReaders[SLOT]; mReaders[SLOT] = mReaders[SLOT] - 1 }
#ifndef BREAK_WAKE_OF_WRITER
    if
    :: left == 1 ->
        if
        :: mWriter -> NotifyAll(ON_READERS)
        :: !mWriter
        fi
    :: else
    fi;
#endif
    left = 0
}

inline WaitForWriter()
{
    Lock(mGate);
    if
#ifdef BREAK_SECOND_LOOK
    :: true ->
#else
    :: !mWriter -> mGate = false
    :: mWriter ->
#endif
        turn = mTurn;
        atomic { mWaiting[SLOT] = mWaiting[SLOT] + 1; gIsQueued[me] = true }
        StepBack();
        mGate = false;
        Wait(mTurn, turn, ON_TURN);
        atomic
        {
            assert(gWritersThatPassed[me] <= 1);
            gIsQueued[me] = false;
            gWritersThatPassed[me] = 0;
            turn = 0
        }
    fi
}

inline EnterRead()
{
    mReaders[SLOT] = mReaders[SLOT] + 1;
    if
    :: mWriter -> WaitForWriter()
    :: !mWriter
    fi
}

inline WaitForReaders()
{
    for (slot : 0 .. SLOTS - 1)
    {
        do
        :: atomic { mReaders[slot] == 0 -> seen = 0; break }
        :: atomic { mReaders[slot] != 0 -> seen = mReaders[slot] }
           Wait(mReaders[slot], seen, ON_READERS)
        od
    }
    slot = 0
}

inline Announce()
{
    Lock(mGate);
    mWriter = true;
    mGate = false
}

inline EnterWrite()
{
    Lock(mWriters);
#ifdef BREAK_ORDER
    WaitForReaders();
    Announce()
#else
    Announce();
    WaitForReaders()
#endif
}

inline LetWaitingReadersIn()
{
    Lock(mGate);
    for (slot : 0 .. SLOTS - 1)
    {
#ifndef BREAK_TURN_OF_READERS
        mReaders[slot] = mReaders[slot] + mWaiting[slot];
#endif
        any = any || mWaiting[slot] != 0;
        mWaiting[slot] = 0
    }
    slot = 0;
    mWriter = false;
    mTurn = 1 - mTurn;
    mGate = false
}

inline LeaveWrite()
{
    LetWaitingReadersIn();
#ifndef BREAK_WAKE_OF_READERS
    if
    :: any -> NotifyAll(ON_TURN)
    :: else
    fi;
#endif
    any = false;
    mWriters = false
}

inline Read()
{
    EnterRead();
    atomic { gReadersInside++; assert(gWritersInside == 0) }
    gReadersInside--;
    StepBack()
}

inline Write()
{
    EnterWrite();
    atomic
    {
        gWritersInside++;
        assert(gWritersInside == 1 && gReadersInside == 0);
        gWritersThatPassed[0] = gWritersThatPassed[0] + gIsQueued[0];
        gWritersThatPassed[1] = gWritersThatPassed[1] + gIsQueued[1];
        gWritersThatPassed[2] = gWritersThatPassed[2] + gIsQueued[2]
    }
    gWritersInside--;
    LeaveWrite()
}

inline HoldForFork()
{
    EnterWrite();
    Lock(mGate);
    mIsHeldForFork = true
}

inline GiveBackAfterFork()
{
    mIsHeldForFork = false;
    mGate = false;
    LeaveWrite()
}

/* A function of the host program amid the fork: it finds a writer, which is its own thread. */
inline ReadAmidFork()
{
    mReaders[SLOT] = mReaders[SLOT] + 1;
    assert(mWriter && mIsHeldForFork);
    StepBack()
}

inline ForgetOtherThreads()
{
    for (slot : 0 .. SLOTS - 1)
    {
#ifndef BREAK_CHILD
        mReaders[slot] = 0;
        mWaiting[slot] = 0
#else
        skip
#endif
    }
    slot = 0;
    gReadersInside = 0
}

inline Fork()
{
    HoldForFork();
    ReadAmidFork();
    if
    :: true
    :: BecomeChild();
       ForgetOtherThreads()
    fi;
    GiveBackAfterFork()
}

#ifdef WITH_STREAM_OF_READERS
#define MAY_STOP false
#define MAY_WRITE (me == FORKER)
#define MAY_READ (me != FORKER)
#define MAY_FORK false
#define COUNT_ROUND (round + (me == FORKER))
#define ROUNDS 1
ltl WriterGetsIn { <> gIsDone[FORKER] }
#else
#define MAY_STOP true
#define MAY_WRITE true
#define MAY_READ true
#define MAY_FORK (me == FORKER && !gIsChild)
#define COUNT_ROUND (round + 1)
#define ROUNDS 2
#endif

active [THREADS] proctype Thread() provided (EXISTS(me))
{
    byte round, slot, seen, left;
    bit turn;
    bool any;
    do
    :: round < ROUNDS ->
        round = COUNT_ROUND;
        if
        :: MAY_READ -> Read()
        :: MAY_WRITE -> Write()
        :: MAY_FORK -> Fork()
        fi
    :: MAY_STOP || round == ROUNDS -> break
    od;
    gIsDone[me] = true
}
