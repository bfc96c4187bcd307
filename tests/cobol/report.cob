*> Answers of COBOL blocks, and what a person reads when nobody handles
*> an error, and the keys: any other key goes on, T ends the run with the
*> current return code.
IDENTIFICATION DIVISION.
PROGRAM-ID. report.
DATA DIVISION.
WORKING-STORAGE SECTION.
COPY "oocobol.cpy".
01  no-object           USAGE POINTER VALUE NULL.
01  number-list         USAGE POINTER.
01  a-block             USAGE POINTER.
01  a-copy              USAGE POINTER.
01  item                PIC S9(9) COMP-5 VALUE 0.
01  item-index          PIC S9(9) COMP-5 VALUE 99.
01  a-text              USAGE POINTER.
01  a-name              USAGE POINTER.
01  not-found           PIC 9(9) COMP-5 VALUE 12.
01  unknown-error       PIC 9(9) COMP-5 VALUE 9999.
01  text-length         PIC S9(9) COMP-5 VALUE 12.
01  name-length         PIC S9(9) COMP-5 VALUE 10.
01  flag                PIC 9(2) COMP-5.
PROCEDURE DIVISION.
main-line.
    CALL "ooclasses" USING OO-CLASSES
    CALL "ooattach" USING RETURN-CODE
    CALL "oosend" USING "withlengthvalue" OO-CHARACTERARRAY a-text
        text-length "key: missing"
    CALL "oosend" USING "withlengthvalue" OO-CHARACTERARRAY a-name
        name-length "AddFirst  "

    CALL "oosend" USING "respondsto" OO-ORDEREDCOLLECTION flag a-name
    DISPLAY "by a text: " flag
    CALL "oosend" USING "respondsto" OO-ORDEREDCOLLECTION flag
        "iconicise "
    DISPLAY "by a literal: " flag

    PERFORM use-blocks
    PERFORM make-errors
    CALL "oosend" USING "raiseexceptionwithtext" OO-BAG OMITTED
        not-found a-text OMITTED
    DISPLAY "went on"
    CALL "oosend" USING "raiseexception" OO-BAG OMITTED unknown-error
    CALL "oosend" USING "fly" no-object
    MOVE 5 TO RETURN-CODE
    CALL "oosend" USING "swim" no-object
    DISPLAY "not reached"
    STOP RUN.

use-blocks.
    CALL "oosend" USING "ofvalues" OO-SORTEDCOLLECTION number-list
        OO-SIGNEDCOBOLCOMP5 item
    PERFORM VARYING item FROM 1 BY 1 UNTIL item > 5
        CALL "oosend" USING "add" number-list OMITTED item
    END-PERFORM
    CALL "oosend" USING "setsortentry" number-list OMITTED "report-after "
    CALL "oosend" USING "displaykeysanddata" number-list
    DISPLAY " "
    CALL "oosend" USING "new" OO-ENTRYCALLBACK a-block "report-isodd "
    CALL "oosend" USING "reject" number-list a-copy a-block
    CALL "oosend" USING "display" a-copy
    DISPLAY " "
    CALL "oosend" USING "detect" number-list item a-block
    DISPLAY "detected " item
    CALL "oofinalize" USING a-block.

make-errors.
    CALL "oosend" USING "at" number-list item item-index
    DISPLAY "item is still " item
    MOVE number-list TO a-copy
    CALL "oofinalize" USING number-list
    CALL "oosend" USING "size" a-copy item-index
    CALL "oosend" USING "new" OO-ENTRYCALLBACK a-block "report-missing "
    CALL "oosend" USING "invoke" a-block
    CALL "oofinalize" USING a-block.
END PROGRAM report.

*> A block's answer is its RETURN-CODE.
IDENTIFICATION DIVISION.
PROGRAM-ID. report-isodd.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  half                PIC S9(9) COMP-5.
01  rest                PIC S9(9) COMP-5.
LINKAGE SECTION.
01  item                PIC S9(9) COMP-5.
PROCEDURE DIVISION USING item.
    DIVIDE item BY 2 GIVING half REMAINDER rest
    MOVE rest TO RETURN-CODE
    GOBACK.
END PROGRAM report-isodd.

IDENTIFICATION DIVISION.
PROGRAM-ID. report-after.
DATA DIVISION.
LINKAGE SECTION.
01  left-item           PIC S9(9) COMP-5.
01  right-item          PIC S9(9) COMP-5.
PROCEDURE DIVISION USING left-item right-item.
    MOVE 0 TO RETURN-CODE
    IF left-item >= right-item MOVE 1 TO RETURN-CODE END-IF
    GOBACK.
END PROGRAM report-after.
