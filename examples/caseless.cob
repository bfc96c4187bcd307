*> A class written in COBOL: a word that is equal to another one in any
*> letter case. It redefines equal and hash, so the library's own
*> dictionary finds it; it counts its objects in class data, and its
*> finalize goes on to the superclass.
*>
*> A class is a program that declares it; each method is a program of
*> its own: USING self data returning-item argument ...
IDENTIFICATION DIVISION.
PROGRAM-ID. caseless-demo.
DATA DIVISION.
WORKING-STORAGE SECTION.
COPY "oocobol.cpy".
01  caseless            USAGE POINTER.
01  key-1               USAGE POINTER.
01  key-2               USAGE POINTER.
01  key-3               USAGE POINTER.
01  prices              USAGE POINTER.
01  no-object           USAGE POINTER.
01  capacity            PIC S9(9) COMP-5 VALUE 10.
01  price               PIC 9(9) COMP-5.
01  made                PIC 9(9) COMP-5.
01  flag                PIC 9(2) COMP-5.
01  objects-before      PIC 9(9) COMP-5.
01  objects-after       PIC 9(9) COMP-5.
PROCEDURE DIVISION.
main-line.
    CALL "ooclasses" USING OO-CLASSES
    CALL "caseless" USING caseless
    CALL "oocount" USING no-object objects-before
    CALL "oosend" USING "withword" caseless key-1 "Apple     "
    CALL "oosend" USING "withword" caseless key-2 "PEAR      "
    CALL "oosend" USING "withword" caseless key-3 "apple     "
    CALL "oosend" USING "equal" key-1 flag key-3
    DISPLAY "Apple = apple: " flag
    CALL "oosend" USING "equal" key-1 flag key-2
    DISPLAY "Apple = PEAR:  " flag

    CALL "oosend" USING "ofvaluesauto" OO-DICTIONARY prices
        no-object OO-COBOLCOMP5 capacity
    MOVE 120 TO price
    CALL "oosend" USING "atput" prices OMITTED key-1 price
    MOVE 80 TO price
    CALL "oosend" USING "atput" prices OMITTED key-2 price
    CALL "oosend" USING "at" prices price key-3
    DISPLAY "apple costs " price

    CALL "oosend" USING "made" caseless made
    DISPLAY "words made: " made
    CALL "oosend" USING "istypeof" key-1 flag OO-BASE
    DISPLAY "is an object: " flag
    CALL "oofinalize" USING prices
    CALL "oofinalize" USING key-1
    CALL "oofinalize" USING key-2
    CALL "oofinalize" USING key-3
    CALL "oocount" USING no-object objects-after
    IF objects-after = objects-before
        DISPLAY "Every object has been finalized."
    END-IF
    MOVE 0 TO RETURN-CODE
    STOP RUN.
END PROGRAM caseless-demo.

*> The class program.
IDENTIFICATION DIVISION.
PROGRAM-ID. caseless.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  base-class          USAGE POINTER.
01  class-size          PIC 9(9) COMP-5 VALUE 4.
01  instance-size       PIC 9(9) COMP-5 VALUE 10.
01  one                 PIC 9(9) COMP-5 VALUE 1.
01  two                 PIC 9(9) COMP-5 VALUE 2.
01  method-pointer      USAGE PROGRAM-POINTER.
LINKAGE SECTION.
01  class-object        USAGE POINTER.
PROCEDURE DIVISION USING class-object.
    CALL "ooclass" USING "base" base-class
    CALL "ooclassbegin" USING "caseless" "caselessword" base-class
        class-size instance-size
    SET method-pointer TO ENTRY "caseless-withword"
    CALL "oomethod" USING "C" "withword" method-pointer two
    SET method-pointer TO ENTRY "caseless-made"
    CALL "oomethod" USING "C" "made" method-pointer one
    SET method-pointer TO ENTRY "caseless-setword"
    CALL "oomethod" USING "I" "setword" method-pointer two
    SET method-pointer TO ENTRY "caseless-getword"
    CALL "oomethod" USING "I" "getword" method-pointer one
    SET method-pointer TO ENTRY "caseless-equal"
    CALL "oomethod" USING "I" "equal" method-pointer two
    SET method-pointer TO ENTRY "caseless-hash"
    CALL "oomethod" USING "I" "hash" method-pointer one
    SET method-pointer TO ENTRY "caseless-finalize"
    CALL "oomethod" USING "I" "finalize" method-pointer one
    CALL "ooclassend" USING class-object
    GOBACK.
END PROGRAM caseless.

*> withword (word) -> object. A class method: data is the class's.
IDENTIFICATION DIVISION.
PROGRAM-ID. caseless-withword.
DATA DIVISION.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  class-data.
    05  made            PIC 9(9) COMP-5.
01  new-object          USAGE POINTER.
01  word                PIC X(10).
PROCEDURE DIVISION USING self-object class-data new-object word.
    CALL "oosend" USING "new" self-object new-object
    CALL "oosend" USING "setword" new-object OMITTED word
    ADD 1 TO made
    GOBACK.
END PROGRAM caseless-withword.

*> made () -> how many there have been.
IDENTIFICATION DIVISION.
PROGRAM-ID. caseless-made.
DATA DIVISION.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  class-data.
    05  made            PIC 9(9) COMP-5.
01  answer              PIC 9(9) COMP-5.
PROCEDURE DIVISION USING self-object class-data answer.
    MOVE made TO answer
    GOBACK.
END PROGRAM caseless-made.

*> setword (word). Kept in upper case.
IDENTIFICATION DIVISION.
PROGRAM-ID. caseless-setword.
DATA DIVISION.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  own-data.
    05  own-word        PIC X(10).
01  returning-item      PIC X.
01  word                PIC X(10).
PROCEDURE DIVISION USING self-object own-data returning-item word.
    MOVE FUNCTION UPPER-CASE(word) TO own-word
    GOBACK.
END PROGRAM caseless-setword.

*> getword () -> word.
IDENTIFICATION DIVISION.
PROGRAM-ID. caseless-getword.
DATA DIVISION.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  own-data.
    05  own-word        PIC X(10).
01  word                PIC X(10).
PROCEDURE DIVISION USING self-object own-data word.
    MOVE own-word TO word
    GOBACK.
END PROGRAM caseless-getword.

*> equal (object) -> flag. Of another word: by its letters.
IDENTIFICATION DIVISION.
PROGRAM-ID. caseless-equal.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  other-word          PIC X(10).
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  own-data.
    05  own-word        PIC X(10).
01  flag                PIC 9(2) COMP-5.
01  other-object        USAGE POINTER.
PROCEDURE DIVISION USING self-object own-data flag other-object.
    CALL "oosend" USING "getword" other-object other-word
    IF other-word = own-word
        MOVE 1 TO flag
    ELSE
        MOVE 0 TO flag
    END-IF
    GOBACK.
END PROGRAM caseless-equal.

*> hash () -> number, the same for equal words. Ten characters leave
*> room enough in it.
IDENTIFICATION DIVISION.
PROGRAM-ID. caseless-hash.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  position-in-word    PIC 9(9) COMP-5.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  own-data.
    05  own-word        PIC X(10).
01  answer              PIC 9(9) COMP-5.
PROCEDURE DIVISION USING self-object own-data answer.
    MOVE 0 TO answer
    PERFORM VARYING position-in-word FROM 1 BY 1
            UNTIL position-in-word > 10
        MULTIPLY 2 BY answer
        ADD FUNCTION ORD(own-word(position-in-word:1)) TO answer
    END-PERFORM
    GOBACK.
END PROGRAM caseless-hash.

*> finalize () -> null. Nothing of its own to end: goes on upwards.
IDENTIFICATION DIVISION.
PROGRAM-ID. caseless-finalize.
DATA DIVISION.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  own-data            PIC X(10).
01  answer              USAGE POINTER.
PROCEDURE DIVISION USING self-object own-data answer.
    CALL "oosuper" USING "caseless.finalize" self-object answer
    GOBACK.
END PROGRAM caseless-finalize.
