*> Classes for numeric items that programs bring along: `pic9disp`, in
*> COBOL, and `comp3`, in C, each found by its name in a file of its own.
IDENTIFICATION DIVISION.
PROGRAM-ID. pictures.

DATA DIVISION.
WORKING-STORAGE SECTION.
COPY "oocobol.cpy".
01  numeric-flag        PIC 9(2) COMP-5 VALUE 1.
01  item-class          USAGE POINTER.
01  same-class          USAGE POINTER.
01  item-object         USAGE POINTER.
01  class-name          USAGE POINTER.
01  item-size           PIC 9(9) COMP-5.
01  digits              PIC 9(9) COMP-5.
01  number-held         PIC 9(9) COMP-5.
01  flag                PIC 9(2) COMP-5.

*> A description's two bytes hold kind, length and number of digits.
01  display-5           PIC X(2) VALUE X"8404".
01  display-5-of-3      PIC X(2) VALUE X"8402".
01  packed-7            PIC X(2) VALUE X"C326".
01  value-display       PIC 9(5) VALUE 12345.
01  value-packed        PIC 9(7) COMP-3 VALUE 7654321.

PROCEDURE DIVISION.
main-line.
    CALL "ooclasses" USING OO-CLASSES
    CALL "oosend" USING "getclassfromdatadescription" OO-COBOLPICX
        item-class display-5 numeric-flag
    PERFORM show-class
    CALL "oosend" USING "withvalue" item-class item-object value-display
    PERFORM show-item

    *> Each class of a length has its own number of digits.
    CALL "oosend" USING "getclassfromdatadescription" OO-COBOLPICX
        same-class display-5-of-3 numeric-flag
    CALL "oosend" USING "digits" same-class digits
    DISPLAY "the other has " digits " digits"
    CALL "oosend" USING "digits" item-class digits
    DISPLAY "the first has " digits " digits"

    CALL "oosend" USING "getclassfromdatadescription" OO-COBOLPICX
        item-class packed-7 numeric-flag
    PERFORM show-class
    CALL "oosend" USING "withvalue" item-class item-object value-packed
    PERFORM show-item
    MOVE 0 TO RETURN-CODE
    STOP RUN.

show-class.
    CALL "oosend" USING "name" item-class class-name
    CALL "oosend" USING "display" class-name
    CALL "oofinalize" USING class-name
    CALL "oosend" USING "size" item-class item-size
    CALL "oosend" USING "digits" item-class digits
    DISPLAY ": " item-size " bytes, " digits " digits".

show-item.
    CALL "oosend" USING "number" item-object number-held
    CALL "oosend" USING "istypeof" item-object flag OO-COBOLPICX
    DISPLAY "holds " number-held ", a kind of cobolpicx: " flag
    CALL "oofinalize" USING item-object.
END PROGRAM pictures.
