*> Numeric display items: what the library asks for by this name.
IDENTIFICATION DIVISION.
PROGRAM-ID. pic9disp.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  picx-class          USAGE POINTER.
01  class-object        USAGE POINTER.
01  class-size          PIC 9(9) COMP-5 VALUE 4.
01  instance-size       PIC 9(9) COMP-5 VALUE 0.
01  one                 PIC 9(9) COMP-5 VALUE 1.
01  two                 PIC 9(9) COMP-5 VALUE 2.
01  method-pointer      USAGE PROGRAM-POINTER.
PROCEDURE DIVISION.
main-line.
    CALL "ooclass" USING "picx" picx-class
    CALL "ooclassbegin" USING "pic9disp" "pic9display" picx-class
        class-size instance-size
    SET method-pointer TO ENTRY "pic9disp-newclass"
    CALL "oomethod" USING "C" "newclass" method-pointer two
    SET method-pointer TO ENTRY "pic9disp-setdigits"
    CALL "oomethod" USING "C" "setdigits" method-pointer two
    SET method-pointer TO ENTRY "pic9disp-digits"
    CALL "oomethod" USING "C" "digits" method-pointer one
    SET method-pointer TO ENTRY "pic9disp-number"
    CALL "oomethod" USING "I" "number" method-pointer one
    CALL "ooclassend" USING class-object
    GOBACK.
END PROGRAM pic9disp.

*> newclass (length and digits) -> class of items of that length.
IDENTIFICATION DIVISION.
PROGRAM-ID. pic9disp-newclass.
DATA DIVISION.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  class-data.
    05  digits          PIC 9(9) COMP-5.
01  new-class           USAGE POINTER.
01  description.
    05  item-length     PIC 9(9) COMP-5.
    05  item-digits     PIC 9(9) COMP-5.
PROCEDURE DIVISION USING self-object class-data new-class description.
    CALL "oosuper" USING "pic9disp.newclass" self-object new-class
        item-length
    CALL "oosend" USING "setdigits" new-class OMITTED item-digits
    GOBACK.
END PROGRAM pic9disp-newclass.

*> setdigits (count). digits () -> count.
IDENTIFICATION DIVISION.
PROGRAM-ID. pic9disp-setdigits.
DATA DIVISION.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  class-data.
    05  digits          PIC 9(9) COMP-5.
01  no-answer           PIC X.
01  wanted              PIC 9(9) COMP-5.
PROCEDURE DIVISION USING self-object class-data no-answer wanted.
    MOVE wanted TO digits
    GOBACK.
END PROGRAM pic9disp-setdigits.

IDENTIFICATION DIVISION.
PROGRAM-ID. pic9disp-digits.
DATA DIVISION.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  class-data.
    05  digits          PIC 9(9) COMP-5.
01  answer              PIC 9(9) COMP-5.
PROCEDURE DIVISION USING self-object class-data answer.
    MOVE digits TO answer
    GOBACK.
END PROGRAM pic9disp-digits.

*> number () -> number. The data of an item is its value.
IDENTIFICATION DIVISION.
PROGRAM-ID. pic9disp-number.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  item-size           PIC 9(9) COMP-5.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  item-data           PIC X(9).
01  answer              PIC 9(9) COMP-5.
PROCEDURE DIVISION USING self-object item-data answer.
    CALL "oosend" USING "size" self-object item-size
    MOVE item-data(1:item-size) TO answer
    GOBACK.
END PROGRAM pic9disp-number.
