*> The words of a text file: kept in an ordered collection of 20-byte
*> items, sorted, counted and printed, with COBOL programs as blocks.
*>
*>     words FILE
IDENTIFICATION DIVISION.
PROGRAM-ID. words.

ENVIRONMENT DIVISION.
INPUT-OUTPUT SECTION.
FILE-CONTROL.
    SELECT text-file ASSIGN TO file-name
        ORGANIZATION LINE SEQUENTIAL
        FILE STATUS file-status.

DATA DIVISION.
FILE SECTION.
FD  text-file.
01  text-line           PIC X(8192).

WORKING-STORAGE SECTION.
COPY "oocobol.cpy".
01  file-name           PIC X(1024).
01  file-status         PIC XX.
    88  end-of-file     VALUE "10".
01  objects-before      PIC 9(9) COMP-5.
01  objects-after       PIC 9(9) COMP-5.

01  word-class          USAGE POINTER.
01  word-list               USAGE POINTER.
01  sorted              USAGE POINTER.
01  selection           USAGE POINTER.
01  print-block         USAGE POINTER.
01  count-block         USAGE POINTER.
01  error-block         USAGE POINTER.
01  no-object             USAGE POINTER.

01  word                PIC X(20).
01  word-length         PIC 9(9) COMP-5 VALUE 20.
01  capacity            PIC 9(9) COMP-5 VALUE 1000.
01  word-count          PIC 9(9) COMP-5.
01  first-index         PIC S9(9) COMP-5.
01  last-index          PIC S9(9) COMP-5.
01  flag                PIC 9(2) COMP-5.

01  position-in-line    PIC 9(9) COMP-5.
01  line-length         PIC 9(9) COMP-5.
01  start-of-word       PIC 9(9) COMP-5.
01  shown               PIC Z(8)9.

*> Shared with the block that counts.
01  most-frequent       EXTERNAL.
    05  top-word        PIC X(20).
    05  top-count       PIC 9(9) COMP-5.
    05  run-word        PIC X(20).
    05  run-count       PIC 9(9) COMP-5.

PROCEDURE DIVISION.
main-line.
    CALL "ooclasses" USING OO-CLASSES
    CALL "oocount" USING no-object objects-before
    ACCEPT file-name FROM ARGUMENT-VALUE
    OPEN INPUT text-file
    IF file-status NOT = "00"
        DISPLAY "words: cannot read " FUNCTION TRIM(file-name)
        MOVE 1 TO RETURN-CODE
        STOP RUN
    END-IF

    CALL "oosend" USING "newclass" OO-COBOLPICX word-class word-length
    CALL "oosend" USING "ofvalues" OO-ORDEREDCOLLECTION word-list
        word-class capacity
    PERFORM read-words
    CLOSE text-file

    CALL "oosend" USING "new" OO-ENTRYCALLBACK print-block "words-print "
    CALL "oosend" USING "new" OO-ENTRYCALLBACK count-block "words-count "
    CALL "oosend" USING "new" OO-ENTRYCALLBACK error-block "words-error "

    PERFORM show-size
    PERFORM show-sorted
    PERFORM show-most-frequent
    PERFORM show-search
    PERFORM show-error
    PERFORM finalize-all

    CALL "oocount" USING no-object objects-after
    IF objects-after = objects-before
        DISPLAY "Every object has been finalized."
    ELSE
        SUBTRACT objects-before FROM objects-after
        MOVE objects-after TO shown
        DISPLAY "Objects left:" shown
    END-IF
    MOVE 0 TO RETURN-CODE
    STOP RUN.

*> Letters and digits make words; everything else parts them.
read-words.
    PERFORM UNTIL end-of-file
        READ text-file
            AT END CONTINUE
            NOT AT END PERFORM cut-line
        END-READ
        IF file-status(1:1) NOT = "0" AND NOT end-of-file
            SET end-of-file TO TRUE
        END-IF
    END-PERFORM.

cut-line.
    MOVE FUNCTION STORED-CHAR-LENGTH(text-line) TO line-length
    MOVE 0 TO start-of-word
    PERFORM VARYING position-in-line FROM 1 BY 1
            UNTIL position-in-line > line-length
        IF text-line(position-in-line:1) IS ALPHABETIC-LOWER
                AND text-line(position-in-line:1) NOT = SPACE
            OR text-line(position-in-line:1) IS ALPHABETIC-UPPER
                AND text-line(position-in-line:1) NOT = SPACE
            OR text-line(position-in-line:1) IS NUMERIC
            IF start-of-word = 0
                MOVE position-in-line TO start-of-word
            END-IF
        ELSE
            IF start-of-word > 0
                PERFORM add-word
            END-IF
        END-IF
    END-PERFORM
    IF start-of-word > 0
        PERFORM add-word
    END-IF.

add-word.
    MOVE text-line(start-of-word:position-in-line - start-of-word) TO word
    CALL "oosend" USING "add" word-list OMITTED word
    MOVE 0 TO start-of-word.

show-size.
    CALL "oosend" USING "size" word-list word-count
    MOVE word-count TO shown
    DISPLAY "Words:" shown.

show-sorted.
    CALL "oosend" USING "asdefaultsortedcollection" word-list sorted
    MOVE 1 TO first-index
    MOVE 10 TO last-index
    IF word-count < 10
        MOVE word-count TO last-index
    END-IF
    DISPLAY "First:"
    PERFORM print-range
    COMPUTE first-index = word-count - last-index + 1
    MOVE word-count TO last-index
    DISPLAY "Last:"
    PERFORM print-range.

print-range.
    CALL "oosend" USING "copyfromto" sorted selection first-index last-index
    CALL "oosend" USING "do" selection OMITTED print-block
    CALL "oofinalize" USING selection.

show-most-frequent.
    INITIALIZE most-frequent
    CALL "oosend" USING "do" sorted OMITTED count-block
    MOVE top-count TO shown
    DISPLAY "Most frequent: " FUNCTION TRIM(top-word) "," shown.

show-search.
    MOVE top-word TO word
    CALL "oosend" USING "includes" word-list flag word
    CALL "oosend" USING "indexof" word-list first-index word
    MOVE first-index TO shown
    IF flag = 1
        DISPLAY "It stands first at" shown
    END-IF.

*> An index outside the collection: the program's own handler sees
*> error 3, and the run goes on.
show-error.
    CALL "oosend" USING "register" OO-EXCEPTIONMANAGER OMITTED
        word-list error-block
    COMPUTE first-index = word-count + 1
    MOVE "unchanged" TO word
    CALL "oosend" USING "at" word-list word first-index
    DISPLAY "The item is " FUNCTION TRIM(word)
    CALL "oosend" USING "cancel" OO-EXCEPTIONMANAGER flag word-list.

finalize-all.
    CALL "oofinalize" USING sorted
    CALL "oofinalize" USING word-list
    CALL "oofinalize" USING print-block
    CALL "oofinalize" USING count-block
    CALL "oofinalize" USING error-block.
END PROGRAM words.

*> Prints one word.
IDENTIFICATION DIVISION.
PROGRAM-ID. words-print.
DATA DIVISION.
LINKAGE SECTION.
01  word                PIC X(20).
PROCEDURE DIVISION USING word.
    DISPLAY "    " FUNCTION TRIM(word)
    GOBACK.
END PROGRAM words-print.

*> Counts equal words in a row, and keeps the longest row.
IDENTIFICATION DIVISION.
PROGRAM-ID. words-count.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  most-frequent       EXTERNAL.
    05  top-word        PIC X(20).
    05  top-count       PIC 9(9) COMP-5.
    05  run-word        PIC X(20).
    05  run-count       PIC 9(9) COMP-5.
LINKAGE SECTION.
01  word                PIC X(20).
PROCEDURE DIVISION USING word.
    IF word NOT = run-word
        MOVE word TO run-word
        MOVE 0 TO run-count
    END-IF
    ADD 1 TO run-count
    IF run-count > top-count
        MOVE run-word TO top-word
        MOVE run-count TO top-count
    END-IF
    GOBACK.
END PROGRAM words-count.

*> Told of errors: which object raised, the number, the inserts.
IDENTIFICATION DIVISION.
PROGRAM-ID. words-error.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  shown               PIC Z(8)9.
LINKAGE SECTION.
01  raised-by           USAGE POINTER.
01  error-number        PIC 9(9) COMP-5.
01  inserts             USAGE POINTER.
PROCEDURE DIVISION USING raised-by error-number inserts.
    MOVE error-number TO shown
    DISPLAY "Handled: error" shown
    GOBACK.
END PROGRAM words-error.
