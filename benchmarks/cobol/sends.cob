*> What a send costs a COBOL program, beside a CALL of a function that does
*> nothing with the same items and a cached send of a C program: both sides in
*> one run, interleaved, the lowest of nine rounds.
IDENTIFICATION DIVISION.
PROGRAM-ID. sends.
DATA DIVISION.
WORKING-STORAGE SECTION.
COPY "oocobol.cpy".
01  word-class          USAGE POINTER.
01  word-list           USAGE POINTER.
01  word-length         PIC 9(9) COMP-5 VALUE 20.
01  capacity            PIC 9(9) COMP-5 VALUE 10.
01  element-count       PIC 9(9) COMP-5.
01  rounds              PIC 9(9) COMP-5 VALUE 9.
01  repetitions         PIC 9(9) COMP-5 VALUE 2000000.
01  start-time              PIC S9(18) COMP-5.
01  end-time               PIC S9(18) COMP-5.
01  taken               PIC S9(18) COMP-5.
01  best-send           PIC S9(18) COMP-5 VALUE 999999999999.
01  best-call           PIC S9(18) COMP-5 VALUE 999999999999.
01  best-cached         PIC S9(18) COMP-5 VALUE 999999999999.
01  nanoseconds         PIC Z(5)9.99.
01  ratio               PIC Z9.99.

PROCEDURE DIVISION.
main-line.
    CALL "liboocobol"
    CALL "ooclasses" USING OO-CLASSES
    CALL "oosend" USING "newclass" OO-COBOLPICX word-class word-length
    CALL "oosend" USING "ofvalues" OO-ORDEREDCOLLECTION word-list
        word-class capacity
    PERFORM rounds TIMES
        PERFORM one-round
    END-PERFORM
    PERFORM report-figures
    CALL "oofinalize" USING word-list
    CALL "oofinalize" USING word-class
    STOP RUN.

one-round.
    CALL "clocknow" USING start-time
    PERFORM repetitions TIMES
        CALL "oosend" USING "size" word-list element-count
    END-PERFORM
    CALL "clocknow" USING end-time
    SUBTRACT start-time FROM end-time GIVING taken
    IF taken < best-send MOVE taken TO best-send END-IF

    CALL "clocknow" USING start-time
    PERFORM repetitions TIMES
        CALL "nothing" USING "size" word-list element-count
    END-PERFORM
    CALL "clocknow" USING end-time
    SUBTRACT start-time FROM end-time GIVING taken
    IF taken < best-call MOVE taken TO best-call END-IF

    CALL "clocknow" USING start-time
    CALL "cachedsends" USING word-list element-count repetitions
    CALL "clocknow" USING end-time
    SUBTRACT start-time FROM end-time GIVING taken
    IF taken < best-cached MOVE taken TO best-cached END-IF.

report-figures.
    COMPUTE nanoseconds ROUNDED = best-send / repetitions
    DISPLAY "send from COBOL, ns             " nanoseconds
    COMPUTE nanoseconds ROUNDED = best-call / repetitions
    DISPLAY "CALL that does nothing, ns      " nanoseconds
    COMPUTE nanoseconds ROUNDED = best-cached / repetitions
    DISPLAY "cached send of a C program, ns  " nanoseconds
    COMPUTE ratio ROUNDED = best-send / (best-call + best-cached)
    DISPLAY "send / (CALL + cached send)     " ratio
        "      bar 2.00".
