/* The hazard pointers of src/routing/Loan.cpp: a loan of a published object, and what its replacement does.
 *
 * Shown for 3 threads, of which one replaces the object and may fork, on places that the borrowers share:
 *   - nobody uses an object that has been destroyed;
 *   - no object is released more often than referenced, and none is left over in the parent;
 *   - in the child of a fork nothing is destroyed that a thread of the parent had on loan, and the child goes on.
 *
 * Borrow and GiveBack are LoanBase's constructor and destructor, HandOver and ForgetOtherThreads the functions of these
 * names. The readers-writer lock under which a loan is taken and an object replaced is taken to be right (RWLock.pml);
 * it is held around a fork.
 *
 * Memory order: that lock lets no loan of an object begin after its replacement, and makes the loans before it visible
 * to HandOver. Which of HandOver and the end of a loan comes first is decided by one word, the place, by an exchange on
 * either side: both are sequentially consistent in the code, which is more than the acquire and release that they need,
 * so that the reference is there before the word about it. Only a first look at a place, which an exchange confirms, is
 * relaxed.
 */
#define THREADS 3
#define FORKER 2
#define OBJECTS 3
#define RECORDS 2
#define ROUNDS 2

#include "Threads.pml"

/* Objects are numbered from 1, 0 is null. */
#define HANDED_OVER 9

/* A record has one place. Threads 0 and 1 share one, so each of them can find it full. */
#define RECORD (me / 2)

byte gPlaces[RECORDS];
byte gCount[OBJECTS + 1] = 1;    /* the first reference is that of whoever publishes it */
bool gIsDestroyed[OBJECTS + 1];
byte gPublished = 1;
byte gReaders;
bool gHasWriter;

/* For the check only: what each thread has on loan. */
byte gUses[THREADS];

inline AddRef(object)
{
    atomic { assert(!gIsDestroyed[object]); gCount[object]++ }
}

inline Release(object)
{
    atomic
    {
        assert(gCount[object] != 0);
        gCount[object]--;
        gIsDestroyed[object] = gCount[object] == 0;
        assert(!gIsDestroyed[object] || !gIsChild || (gUses[0] != object && gUses[1] != object))
    }
}

inline EnterRead() { atomic { !gHasWriter -> gReaders++ } }
inline LeaveRead() { gReaders-- }

inline TakePlace()
{
    if
    :: atomic { gPlaces[RECORD] == 0 -> gPlaces[RECORD] = lent; hasPlace = true }
    :: atomic { gPlaces[RECORD] != 0 -> skip }
       AddRef(lent)
    fi
}

inline Borrow()
{
    EnterRead();
    lent = gPublished;
#ifdef BREAK_LOCK
    LeaveRead();
#endif
    if
    :: lent != 0 -> TakePlace()
    :: else
    fi;
#ifndef BREAK_LOCK
    LeaveRead();
#endif
    gUses[me] = lent
}

inline GiveBack()
{
    gUses[me] = 0;
    if
    :: hasPlace ->
        atomic { found = gPlaces[RECORD]; gPlaces[RECORD] = 0 }
        if
        :: found == HANDED_OVER -> Release(lent)
        :: else
        fi;
        found = 0
    :: else -> Release(lent)
    fi;
    hasPlace = false;
    lent = 0
}

inline HandOver(object)
{
    for (index : 0 .. RECORDS - 1)
    {
        if
        :: gPlaces[index] == object ->
#ifdef BREAK_REFERENCE
            if
            :: atomic { gPlaces[index] == object -> gPlaces[index] = HANDED_OVER }
               AddRef(object)
            :: atomic { gPlaces[index] != object -> skip }
            fi
#else
            AddRef(object);
            if
            :: atomic { gPlaces[index] == object -> gPlaces[index] = HANDED_OVER }
            :: atomic { gPlaces[index] != object -> skip }
               Release(object)
            fi
#endif
        :: gPlaces[index] != object
        fi
    }
    index = 0
}

/* The last replacement publishes nothing. */
inline Replace()
{
    atomic { !gHasWriter && gReaders == 0 -> gHasWriter = true }
    old = gPublished;
    gPublished = (old == OBJECTS -> 0 : old + 1);
    gHasWriter = false;
#ifndef BREAK_HAND_OVER
    HandOver(old);
#endif
    Release(old);
    old = 0
}

inline ForgetOtherThreads()
{
    for (index : 0 .. RECORDS - 1)
    {
        found = gPlaces[index];
        if
        :: found != 0 ->
            if
            :: found != HANDED_OVER ->
#ifdef BREAK_CHILD
                skip
#else
                AddRef(found)
#endif
            :: else
            fi;
            gPlaces[index] = (index == RECORD -> HANDED_OVER : 0)
        :: else
        fi
    }
    found = 0;
    index = 0
}

/* Also with a loan open, as a destination does that forks. */
inline Fork()
{
    atomic { !gHasWriter && gReaders == 0 -> gHasWriter = true }
    if
    :: true
    :: BecomeChild();
       ForgetOtherThreads()
    fi;
    gHasWriter = false
}

inline Use()
{
    assert(!gIsDestroyed[lent])
}

active [THREADS] proctype Thread() provided (EXISTS(me))
{
    byte round, lent, found, index, old;
    bool hasPlace;
    do
    :: round < ROUNDS ->
        round++;
        Borrow();
        if
        :: me == FORKER && !gIsChild -> Fork()
        :: me == FORKER && gPublished != 0 -> Replace()
        :: true
        fi;
        if
        :: lent != 0 -> Use(); GiveBack()
        :: else
        fi
    :: break
    od;
    if
    :: me == FORKER ->
        do
        :: gPublished != 0 -> Replace()
        :: else -> break
        od
    :: else
    fi;
    gIsDone[me] = true
}

/* Nothing is left over once all are done. */
active proctype WatchObjects()
{
    (gIsDone[0] && gIsDone[1] && gIsDone[2]) ->
    assert(gIsChild || (gIsDestroyed[1] && gIsDestroyed[2] && gIsDestroyed[3]));
    assert(gPlaces[0] == 0 && gPlaces[1] == 0)
}
