*> A model and two views of it, all three written in COBOL. The stock
*> publishes a signal; each view defines what it takes and is
*> connected. Neither knows the other: when the price changes, the
*> stock signals, and whoever is connected is told.
*>
*> Names of signals, sockets and methods end at a space.
IDENTIFICATION DIVISION.
PROGRAM-ID. views.
DATA DIVISION.
WORKING-STORAGE SECTION.
COPY "oocobol.cpy".
01  stock-class         USAGE POINTER.
01  figure-class        USAGE POINTER.
01  bar-class           USAGE POINTER.
01  stock               USAGE POINTER.
01  figure-view         USAGE POINTER.
01  bar-view            USAGE POINTER.
01  no-object           USAGE POINTER.
01  price               PIC 9(9) COMP-5.
01  flag                PIC 9(2) COMP-5.
01  objects-before      PIC 9(9) COMP-5.
01  objects-after       PIC 9(9) COMP-5.
PROCEDURE DIVISION.
main-line.
    CALL "ooclasses" USING OO-CLASSES
    CALL "stock" USING stock-class
    CALL "figurevw" USING figure-class
    CALL "barview" USING bar-class
    CALL "oocount" USING no-object objects-before

    CALL "oosend" USING "new" stock-class stock
    CALL "oosend" USING "publish" stock
    CALL "oosend" USING "new" figure-class figure-view
    CALL "oosend" USING "watch" figure-view OMITTED stock
    CALL "oosend" USING "new" bar-class bar-view
    CALL "oosend" USING "watch" bar-view OMITTED stock

    DISPLAY "Two views:"
    MOVE 12 TO price
    CALL "oosend" USING "setprice" stock OMITTED price
    MOVE 30 TO price
    CALL "oosend" USING "setprice" stock OMITTED price

    DISPLAY "The first view is closed:"
    CALL "oofinalize" USING figure-view
    MOVE 21 TO price
    CALL "oosend" USING "setprice" stock OMITTED price

    CALL "oosend" USING "iscomponent" stock flag
    DISPLAY "The stock is a component: " flag
    CALL "oofinalize" USING stock
    CALL "oofinalize" USING bar-view
    CALL "oocount" USING no-object objects-after
    IF objects-after <= objects-before
        DISPLAY "Every object has been finalized."
    END-IF
    MOVE 0 TO RETURN-CODE
    STOP RUN.
END PROGRAM views.

*> ---- The model ------------------------------------------------------

IDENTIFICATION DIVISION.
PROGRAM-ID. stock.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  base-class          USAGE POINTER.
01  class-size          PIC 9(9) COMP-5 VALUE 0.
01  instance-size       PIC 9(9) COMP-5 VALUE 4.
01  one                 PIC 9(9) COMP-5 VALUE 1.
01  two                 PIC 9(9) COMP-5 VALUE 2.
01  method-pointer      USAGE PROGRAM-POINTER.
LINKAGE SECTION.
01  class-object        USAGE POINTER.
PROCEDURE DIVISION USING class-object.
    CALL "ooclass" USING "base" base-class
    CALL "ooclassbegin" USING "stock" "stock" base-class
        class-size instance-size
    SET method-pointer TO ENTRY "stock-publish"
    CALL "oomethod" USING "I" "publish" method-pointer one
    SET method-pointer TO ENTRY "stock-setprice"
    CALL "oomethod" USING "I" "setprice" method-pointer two
    CALL "ooclassend" USING class-object
    GOBACK.
END PROGRAM stock.

*> publish (). Makes the stock a component with one output signal.
IDENTIFICATION DIVISION.
PROGRAM-ID. stock-publish.
DATA DIVISION.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  own-data.
    05  own-price       PIC 9(9) COMP-5.
PROCEDURE DIVISION USING self-object own-data.
    CALL "oosend" USING "makecomponent" self-object
    CALL "oosend" USING "defineoutsignal" self-object OMITTED
        "PRICECHANGED "
    GOBACK.
END PROGRAM stock-publish.

*> setprice (price). Tells whoever is connected.
IDENTIFICATION DIVISION.
PROGRAM-ID. stock-setprice.
DATA DIVISION.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  own-data.
    05  own-price       PIC 9(9) COMP-5.
01  returning-item      PIC X.
01  price               PIC 9(9) COMP-5.
PROCEDURE DIVISION USING self-object own-data returning-item price.
    MOVE price TO own-price
    CALL "oosend" USING "signal" self-object OMITTED
        "PRICECHANGED " price
    GOBACK.
END PROGRAM stock-setprice.

*> ---- A view that shows the figure -----------------------------------

IDENTIFICATION DIVISION.
PROGRAM-ID. figurevw.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  base-class          USAGE POINTER.
01  class-size          PIC 9(9) COMP-5 VALUE 0.
01  instance-size       PIC 9(9) COMP-5 VALUE 0.
01  two                 PIC 9(9) COMP-5 VALUE 2.
01  method-pointer      USAGE PROGRAM-POINTER.
LINKAGE SECTION.
01  class-object        USAGE POINTER.
PROCEDURE DIVISION USING class-object.
    CALL "ooclass" USING "base" base-class
    CALL "ooclassbegin" USING "figurevw" "figureview" base-class
        class-size instance-size
    SET method-pointer TO ENTRY "figurevw-watch"
    CALL "oomethod" USING "I" "watch" method-pointer two
    SET method-pointer TO ENTRY "figurevw-show"
    CALL "oomethod" USING "I" "show" method-pointer two
    CALL "ooclassend" USING class-object
    GOBACK.
END PROGRAM figurevw.

*> watch (stock). The stock's signal is to reach `show`.
IDENTIFICATION DIVISION.
PROGRAM-ID. figurevw-watch.
DATA DIVISION.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  own-data            PIC X.
01  returning-item      PIC X.
01  stock               USAGE POINTER.
PROCEDURE DIVISION USING self-object own-data returning-item stock.
    CALL "oosend" USING "makecomponent" self-object
    CALL "oosend" USING "defineinsocket" self-object OMITTED "PRICES "
    CALL "oosend" USING "defineinsignal" self-object OMITTED
        "PRICECHANGED " "PRICES " "show "
    CALL "oosend" USING "connectto" stock OMITTED self-object "PRICES "
    GOBACK.
END PROGRAM figurevw-watch.

*> show (price).
IDENTIFICATION DIVISION.
PROGRAM-ID. figurevw-show.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  shown               PIC ZZ9.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  own-data            PIC X.
01  returning-item      PIC X.
01  price               PIC 9(9) COMP-5.
PROCEDURE DIVISION USING self-object own-data returning-item price.
    MOVE price TO shown
    DISPLAY "  the price is" shown
    GOBACK.
END PROGRAM figurevw-show.

*> ---- A view that draws a bar ----------------------------------------

IDENTIFICATION DIVISION.
PROGRAM-ID. barview.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  base-class          USAGE POINTER.
01  class-size          PIC 9(9) COMP-5 VALUE 0.
01  instance-size       PIC 9(9) COMP-5 VALUE 4.
01  two                 PIC 9(9) COMP-5 VALUE 2.
01  method-pointer      USAGE PROGRAM-POINTER.
LINKAGE SECTION.
01  class-object        USAGE POINTER.
PROCEDURE DIVISION USING class-object.
    CALL "ooclass" USING "base" base-class
    CALL "ooclassbegin" USING "barview" "barview" base-class
        class-size instance-size
    SET method-pointer TO ENTRY "barview-watch"
    CALL "oomethod" USING "I" "watch" method-pointer two
    SET method-pointer TO ENTRY "barview-draw"
    CALL "oomethod" USING "I" "draw" method-pointer two
    CALL "ooclassend" USING class-object
    GOBACK.
END PROGRAM barview.

*> watch (stock). The stock's signal is to reach `draw`.
IDENTIFICATION DIVISION.
PROGRAM-ID. barview-watch.
DATA DIVISION.
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  own-data.
    05  previous-price  PIC 9(9) COMP-5.
01  returning-item      PIC X.
01  stock               USAGE POINTER.
PROCEDURE DIVISION USING self-object own-data returning-item stock.
    CALL "oosend" USING "makecomponent" self-object
    CALL "oosend" USING "defineinsocket" self-object OMITTED "PRICES "
    CALL "oosend" USING "defineinsignal" self-object OMITTED
        "PRICECHANGED " "PRICES " "draw "
    CALL "oosend" USING "connectto" stock OMITTED self-object "PRICES "
    GOBACK.
END PROGRAM barview-watch.

*> draw (price). A star for each unit, and which way it went.
IDENTIFICATION DIVISION.
PROGRAM-ID. barview-draw.
DATA DIVISION.
WORKING-STORAGE SECTION.
01  stars               PIC X(60) VALUE ALL "*".
LINKAGE SECTION.
01  self-object         USAGE POINTER.
01  own-data.
    05  previous-price  PIC 9(9) COMP-5.
01  returning-item      PIC X.
01  price               PIC 9(9) COMP-5.
PROCEDURE DIVISION USING self-object own-data returning-item price.
    EVALUATE TRUE
        WHEN price > previous-price
            DISPLAY "  " stars(1:price) " up"
        WHEN price < previous-price
            DISPLAY "  " stars(1:price) " down"
        WHEN OTHER
            DISPLAY "  " stars(1:price)
    END-EVALUATE
    MOVE price TO previous-price
    GOBACK.
END PROGRAM barview-draw.
