*> Blocks in COBOL: collect, select, detect, a sort entry, growth at both
*> ends, references, and errors that reach the default handler.
IDENTIFICATION DIVISION.
PROGRAM-ID. road.
DATA DIVISION.
WORKING-STORAGE SECTION.
COPY "oocobol.cpy".
01  number-list             USAGE POINTER.
01  other-list          USAGE POINTER.
01  a-block               USAGE POINTER.
01  text-1              USAGE POINTER.
01  text-2              USAGE POINTER.
01  nothing-yet         USAGE POINTER.
01  five                PIC S9(9) COMP-5 VALUE 5.
01  zero-capacity       PIC S9(9) COMP-5 VALUE 0.
01  item                PIC S9(9) COMP-5.
01  item-index          PIC S9(9) COMP-5.
01  item-count          PIC 9(9) COMP-5.
01  flag                PIC 9(2) COMP-5.
01  before-count        PIC 9(9) COMP-5.
01  after-count         PIC 9(9) COMP-5.
01  stale               USAGE POINTER.
PROCEDURE DIVISION.
main-line.
    CALL "ooclasses" USING OO-CLASSES
    CALL "oocount" USING nothing-yet before-count
    PERFORM fill
    PERFORM show
    PERFORM use-blocks
    PERFORM sort-descending
    PERFORM join-texts
    PERFORM make-errors
    CALL "oofinalize" USING number-list
    CALL "oocount" USING nothing-yet after-count
    SUBTRACT before-count FROM after-count
    DISPLAY "left behind: " after-count
    MOVE 0 TO RETURN-CODE
    STOP RUN.

fill.
    CALL "oosend" USING "ofvalues" OO-ORDEREDCOLLECTION number-list
        OO-SIGNEDCOBOLCOMP5 zero-capacity
    PERFORM VARYING item FROM 1 BY 1 UNTIL item > 5
        CALL "oosend" USING "add" number-list OMITTED item
        CALL "oosend" USING "addfirst" number-list OMITTED item
    END-PERFORM.

show.
    CALL "oosend" USING "display" number-list
    DISPLAY " "
    CALL "oosend" USING "displaykeysanddata" number-list
    DISPLAY " ".

use-blocks.
    CALL "oosend" USING "new" OO-ENTRYCALLBACK a-block "road-double "
    CALL "oosend" USING "do" number-list OMITTED a-block
    CALL "oofinalize" USING a-block
    CALL "oosend" USING "new" OO-ENTRYCALLBACK a-block "road-isodd "
    CALL "oosend" USING "select" number-list other-list a-block
    PERFORM show-other
    CALL "oosend" USING "reject" number-list other-list a-block
    PERFORM show-other
    CALL "oosend" USING "detect" number-list item a-block
    DISPLAY "detected " item
    CALL "oofinalize" USING a-block
    MOVE 2 TO item-index
    CALL "oosend" USING "removeatindex" number-list item item-index
    CALL "oosend" USING "size" number-list item-count
    DISPLAY "removed " item ", left " item-count
    CALL "oosend" USING "includes" number-list flag five
    DISPLAY "includes 5: " flag.

sort-descending.
    CALL "oosend" USING "assortedcollection" number-list other-list
    CALL "oosend" USING "display" other-list
    DISPLAY " "
    CALL "oosend" USING "setsortentry" other-list OMITTED "road-after "
    PERFORM show-other.

show-other.
    CALL "oosend" USING "display" other-list
    DISPLAY " "
    CALL "oofinalize" USING other-list.

join-texts.
    CALL "oosend" USING "withvalue" OO-CHARACTERARRAY text-1 "left and" & X"00"
    CALL "oosend" USING "withvalue" OO-CHARACTERARRAY text-2 " right" & X"00"
    CALL "oosend" USING "concat" text-1 other-list text-2
    PERFORM show-other
    CALL "oofinalize" USING text-1
    CALL "oofinalize" USING text-2.

*> Each report waits for a key; the input has them.
make-errors.
    MOVE 99 TO item-index
    MOVE 7 TO item
    CALL "oosend" USING "at" number-list item item-index
    DISPLAY "item is still " item
    CALL "oosend" USING "copy" number-list stale
    MOVE stale TO other-list
    CALL "oofinalize" USING other-list
    CALL "oosend" USING "size" stale item-count
    CALL "oosend" USING "removelast" number-list OMITTED item
    CALL "oosend" USING "new" OO-ENTRYCALLBACK a-block "road-missing "
    CALL "oosend" USING "do" number-list OMITTED a-block
    CALL "oofinalize" USING a-block.
END PROGRAM road.

IDENTIFICATION DIVISION.
PROGRAM-ID. road-double.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  doubled             PIC S9(9) COMP-5.
LINKAGE SECTION.
01  item                PIC S9(9) COMP-5.
PROCEDURE DIVISION USING item.
    COMPUTE doubled = item * 2
    DISPLAY doubled " " NO ADVANCING
    GOBACK.
END PROGRAM road-double.

*> A block's answer is its RETURN-CODE.
IDENTIFICATION DIVISION.
PROGRAM-ID. road-isodd.
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
END PROGRAM road-isodd.

IDENTIFICATION DIVISION.
PROGRAM-ID. road-after.
DATA DIVISION.
LINKAGE SECTION.
01  left-item           PIC S9(9) COMP-5.
01  right-item          PIC S9(9) COMP-5.
PROCEDURE DIVISION USING left-item right-item.
    MOVE 0 TO RETURN-CODE
    IF left-item >= right-item MOVE 1 TO RETURN-CODE END-IF
    GOBACK.
END PROGRAM road-after.
