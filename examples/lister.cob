*> A file lister: what a pattern finds, in the order of the names, and
*> below it what its folders hold.
*>
*>     lister PATTERN
*>
*> The pattern's last part may hold *, ? and [...]; hidden files are
*> found by a pattern that begins with a period.
IDENTIFICATION DIVISION.
PROGRAM-ID. lister.

DATA DIVISION.
WORKING-STORAGE SECTION.
COPY "oocobol.cpy".
01  no-object           USAGE POINTER.
01  objects-before      PIC 9(9) COMP-5.
01  objects-after       PIC 9(9) COMP-5.

01  given               PIC X(1024).
01  given-length        PIC 9(9) COMP-5 VALUE 1024.
01  pattern             USAGE POINTER.
01  list-level          PIC 9(9) COMP-5 VALUE 0.
01  shown               PIC ZZZ9.

PROCEDURE DIVISION.
main-line.
    CALL "ooclasses" USING OO-CLASSES
    CALL "oocount" USING no-object objects-before
    ACCEPT given FROM ARGUMENT-VALUE
    IF given = SPACES
        DISPLAY "lister: a pattern is missing"
        MOVE 1 TO RETURN-CODE
        STOP RUN
    END-IF

    *> The spaces behind the pattern are no part of it.
    CALL "oosend" USING "withlengthvalue" OO-FILENAME pattern
        given-length given
    CALL "lister-folder" USING pattern list-level
    CALL "oosend" USING "finalize" pattern OMITTED

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
END PROGRAM lister.

*> Lists what the pattern finds; for each folder, lists all it holds.
IDENTIFICATION DIVISION.
PROGRAM-ID. lister-folder RECURSIVE.

DATA DIVISION.
WORKING-STORAGE SECTION.
COPY "oocobol.cpy".
01  everything          PIC X(2) VALUE "*" & X"00".
01  deepest             PIC 9(9) COMP-5 VALUE 9.

LOCAL-STORAGE SECTION.
01  found               USAGE POINTER.
01  entry-name          USAGE POINTER.
01  position-in-list    PIC S9(9) COMP-5.
01  entry-count         PIC S9(9) COMP-5.
01  is-directory        PIC 9(2) COMP-5.
01  inner-level         PIC 9(9) COMP-5.

LINKAGE SECTION.
01  pattern             USAGE POINTER.
01  list-level          PIC 9(9) COMP-5.

PROCEDURE DIVISION USING pattern list-level.
main-line.
    CALL "ooclasses" USING OO-CLASSES
    CALL "oosend" USING "expandwildcards" OO-FILENAME found pattern
    CALL "oosend" USING "size" found entry-count
    PERFORM VARYING position-in-list FROM 1 BY 1
            UNTIL position-in-list > entry-count
        CALL "oosend" USING "at" found entry-name position-in-list
        CALL "lister-entry" USING entry-name list-level
        CALL "oosend" USING "isdirectory" entry-name is-directory
        IF is-directory = 1 AND list-level < deepest
            *> The name of a folder ends in its separator: with a base
            *> name it is the pattern for what is inside.
            CALL "oosend" USING "setbasenamez" entry-name OMITTED
                everything
            ADD 1 TO list-level GIVING inner-level
            CALL "lister-folder" USING entry-name inner-level
        END-IF
    END-PERFORM
    CALL "oosend" USING "deepfinalize" found OMITTED
    GOBACK.
END PROGRAM lister-folder.

*> One line: size, marks and name.
IDENTIFICATION DIVISION.
PROGRAM-ID. lister-entry.

DATA DIVISION.
WORKING-STORAGE SECTION.
COPY "oocobol.cpy".
01  part                USAGE POINTER.
01  part-text           PIC X(255).
01  part-length         PIC S9(9) COMP-5.
01  path-length         PIC S9(9) COMP-5.
01  is-directory        PIC 9(2) COMP-5.
01  flag                PIC 9(2) COMP-5.
01  file-size           PIC 9(9) COMP-5.
01  size-shown          PIC Z(8)9.
01  marks               PIC X(3).
01  indentation         PIC X(40) VALUE SPACES.
01  indentation-length  PIC 9(9) COMP-5.

LINKAGE SECTION.
01  entry-name          USAGE POINTER.
01  list-level          PIC 9(9) COMP-5.

PROCEDURE DIVISION USING entry-name list-level.
main-line.
    CALL "ooclasses" USING OO-CLASSES
    COMPUTE indentation-length = 1 + list-level * 4
    MOVE SPACES TO marks
    CALL "oosend" USING "isdirectory" entry-name is-directory
    IF is-directory = 1
        MOVE "d" TO marks(1:1)
    END-IF
    CALL "oosend" USING "ishidden" entry-name flag
    IF flag = 1
        MOVE "h" TO marks(2:1)
    END-IF
    CALL "oosend" USING "isreadonly" entry-name flag
    IF flag = 1
        MOVE "r" TO marks(3:1)
    END-IF

    IF is-directory = 1
        PERFORM show-folder
    ELSE
        CALL "oosend" USING "sizeoffile" entry-name file-size
        MOVE file-size TO size-shown
        CALL "oosend" USING "filenamewithoutdir" entry-name part
        PERFORM take-part
        DISPLAY marks size-shown " " indentation(1:indentation-length)
            part-text(1:part-length)
    END-IF
    GOBACK.

*> The last folder of the path, which ends in a separator.
show-folder.
    CALL "oosend" USING "path" entry-name part
    PERFORM take-part
    SUBTRACT 1 FROM part-length
    MOVE part-length TO path-length
    PERFORM UNTIL path-length < 1
            OR part-text(path-length:1) = "/" OR "\"
        SUBTRACT 1 FROM path-length
    END-PERFORM
    SUBTRACT path-length FROM part-length
    ADD 1 TO path-length
    DISPLAY marks "          " indentation(1:indentation-length)
        part-text(path-length:part-length).

take-part.
    CALL "oosend" USING "sizeinbytes" part part-length
    IF part-length > 255
        MOVE 255 TO part-length
    END-IF
    CALL "oosend" USING "getvaluewithsize" part part-text part-length
    CALL "oosend" USING "finalize" part OMITTED.
END PROGRAM lister-entry.
