*> What a person reads when nobody handles an error, and the keys: any
*> other key goes on, T ends the run with the current return code.
IDENTIFICATION DIVISION.
PROGRAM-ID. report.
DATA DIVISION.
WORKING-STORAGE SECTION.
COPY "oocobol.cpy".
01  no-object           USAGE POINTER VALUE NULL.
01  a-text              USAGE POINTER.
01  a-name              USAGE POINTER.
01  not-found           PIC 9(9) COMP-5 VALUE 12.
01  unknown-error       PIC 9(9) COMP-5 VALUE 9999.
01  text-length         PIC S9(9) COMP-5 VALUE 12.
01  name-length         PIC S9(9) COMP-5 VALUE 10.
01  flag                PIC 9(2) COMP-5.
01  program-name        PIC X(8).
PROCEDURE DIVISION.
main-line.
    CALL "ooclasses" USING OO-CLASSES
    CALL "ooattach" USING RETURN-CODE
    PERFORM ask-versions
    CALL "oosend" USING "withlengthvalue" OO-CHARACTERARRAY a-text
        text-length "key: missing"
    CALL "oosend" USING "withlengthvalue" OO-CHARACTERARRAY a-name
        name-length "AddFirst  "

    CALL "oosend" USING "respondsto" OO-ORDEREDCOLLECTION flag a-name
    DISPLAY "by a text: " flag
    CALL "oosend" USING "respondsto" OO-ORDEREDCOLLECTION flag
        "iconicise "
    DISPLAY "by a literal: " flag

    CALL "oosend" USING "raiseexceptionwithtext" OO-BAG OMITTED
        not-found a-text OMITTED
    DISPLAY "went on"
    CALL "oosend" USING "raiseexception" OO-BAG OMITTED unknown-error
    CALL "oosend" USING "fly" no-object
    MOVE 5 TO RETURN-CODE
    CALL "oosend" USING "swim" no-object
    DISPLAY "not reached"
    STOP RUN.

ask-versions.
    CALL "CVERSION"
    DISPLAY "older than needed: " RETURN-CODE
    CALL "CLVERSN"
    DISPLAY "recent enough: " RETURN-CODE
    MOVE "class" TO program-name
    CALL program-name
    DISPLAY "recent enough: " RETURN-CODE
    MOVE 0 TO RETURN-CODE.
END PROGRAM report.
