*> The names of a file in Shift-JIS, kana and Latin letters mixed: cut out
*> of fixed fields, trimmed of spaces of both widths, sorted and printed.
*>
*>     names FILE
*>
*> Run it where there are double-byte characters (OOCOBOL_DBCS=1, or a
*> locale that has them).
IDENTIFICATION DIVISION.
PROGRAM-ID. names.

ENVIRONMENT DIVISION.
INPUT-OUTPUT SECTION.
FILE-CONTROL.
    SELECT name-file ASSIGN TO file-name
        ORGANIZATION LINE SEQUENTIAL
        FILE STATUS file-status.

DATA DIVISION.
FILE SECTION.
FD  name-file.
01  name-line           PIC X(40).

WORKING-STORAGE SECTION.
COPY "oocobol.cpy".
01  file-name           PIC X(1024).
01  file-status         PIC XX.
    88  end-of-file     VALUE "10".
01  objects-before      PIC 9(9) COMP-5.
01  objects-after       PIC 9(9) COMP-5.

01  name-list           USAGE POINTER.
01  sorted              USAGE POINTER.
01  line-text           USAGE POINTER.
01  name-text           USAGE POINTER.
01  print-block         USAGE POINTER.
01  no-object           USAGE POINTER.

01  line-length         PIC 9(9) COMP-5 VALUE 40.
01  capacity            PIC 9(9) COMP-5 VALUE 10.
01  name-count          PIC 9(9) COMP-5.
01  shown               PIC Z(8)9.

PROCEDURE DIVISION.
main-line.
    CALL "ooclasses" USING OO-CLASSES
    CALL "oosend" USING "readyforapplicationstart" OO-BASE
    CALL "oocount" USING no-object objects-before
    ACCEPT file-name FROM ARGUMENT-VALUE
    OPEN INPUT name-file
    IF file-status NOT = "00"
        DISPLAY "names: cannot read " FUNCTION TRIM(file-name)
        MOVE 1 TO RETURN-CODE
        STOP RUN
    END-IF

    CALL "oosend" USING "ofreferences" OO-ORDEREDCOLLECTION name-list
        capacity
    PERFORM read-names
    CLOSE name-file

    CALL "oosend" USING "size" name-list name-count
    MOVE name-count TO shown
    DISPLAY "Names:" shown
    CALL "oosend" USING "asdefaultsortedcollection" name-list sorted
    CALL "oosend" USING "new" OO-ENTRYCALLBACK print-block "names-print "
    CALL "oosend" USING "do" sorted OMITTED print-block

    CALL "oofinalize" USING print-block
    CALL "oosend" USING "deepfinalize" name-list no-object
    CALL "oofinalize" USING sorted
    CALL "oocount" USING no-object objects-after
    IF objects-after = objects-before
        DISPLAY "Every object has been finalized."
    END-IF
    MOVE 0 TO RETURN-CODE
    STOP RUN.

read-names.
    PERFORM UNTIL end-of-file
        READ name-file
            AT END CONTINUE
            NOT AT END PERFORM add-name
        END-READ
        IF file-status(1:1) NOT = "0" AND NOT end-of-file
            SET end-of-file TO TRUE
        END-IF
    END-PERFORM.

*> A text of whichever class its characters ask for.
add-name.
    CALL "oosend" USING "frombuffer" OO-CHARACTERARRAY line-text
        line-length name-line
    CALL "oosend" USING "trimblanks" line-text name-text
    CALL "oosend" USING "add" name-list OMITTED name-text
    CALL "oofinalize" USING line-text.
END PROGRAM names.

*> Prints a name, its characters and its bytes.
IDENTIFICATION DIVISION.
PROGRAM-ID. names-print.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  name                PIC X(80).
01  character-count     PIC 9(9) COMP-5.
01  byte-count          PIC 9(9) COMP-5.
01  wanted-length       PIC 9(9) COMP-5 VALUE 24.
01  characters-shown    PIC Z9.
01  bytes-shown         PIC Z9.
LINKAGE SECTION.
01  name-text           USAGE POINTER.
PROCEDURE DIVISION USING name-text.
    CALL "oosend" USING "getvaluewithsize" name-text name wanted-length
    CALL "oosend" USING "size" name-text character-count
    CALL "oosend" USING "sizeinbytes" name-text byte-count
    MOVE character-count TO characters-shown
    MOVE byte-count TO bytes-shown
    DISPLAY "    " name(1:24) characters-shown " characters,"
        bytes-shown " bytes"
    GOBACK.
END PROGRAM names-print.
