// The numbers of the errors that the library raises. Their texts are in messages/oocobol.lng.
#pragma once

#include "runtime/types.h"

namespace oocobol {

enum class Error : Count {
    notGrowable = 1,           // an element was added to a collection of fixed size
    outOfBounds = 3,           // an index outside the collection
    sourceTooShort = 4,        // fewer elements in the source than asked for
    notRemovable = 5,          // an element cannot be removed from this kind of collection
    sizesDiffer = 6,           // two collections walked together differ in size
    implementedBySubclass = 7, // the class leaves this method to its subclasses
    incompatible = 10,         // the collections' element templates differ
    emptySubcollection = 11,   // nothing to look for
    notFound = 12,             // no such element or key
    noElementAfter = 13,       // the element is the last one
    noElementBefore = 14,      // the element is the first one
    notSequenced = 15,         // the source has no order
    shouldNotImplement = 16,   // the message is not for this class
    noSuchParameter = 17,      // a callback has no stored argument of that number
    nilInstance = 18,          // the null object has no instances
    tooManyStored = 20,        // more than six stored arguments
    tooManyArguments = 21,     // more than nine arguments
    noInstance = 23,           // an instance could not be created
    notUnderstood = 24,        // no method of that name
    nullReceiver = 27,         // copy or finalize through a null reference
    tooLong = 30,              // the length of an intrinsic class is above the maximum
    noStorage = 32,            // storage could not be had
    invalidParameter = 33,
    tooManyStrings = 39, // more than 65,535 message strings, or 65,534 message files
    classCannotBecome = 88,
    halfCharacter = 91, // a byte length ends inside a double-byte character
    noSocket = 93,
    noOutputs = 94,
    noSignal = 95,
    outputTwice = 96,
    noCallbackList = 97,
    inputTwice = 98,
    traceTooLong = 101,
    classNotFinalized = 104,
    noDomainObject = 105,
    staleReference = 106, // from here on our own
    notRegistered = 107,
    stackExhausted = 108,
    exceptionEscaped = 109,
    noEntry = 110,
    noWorkArea = 111,
    unsettledTable = 112,
    badAnswer = 113,
};

} // namespace oocobol
