/* Accounts: two classes written in C, and an error that is raised and handled.
 *
 * A class program is a function of the class program's name. It is called when the class is first asked for, and
 * registers it. `savings` stands below `account` and redefines its `withdraw`. */
#include <inttypes.h>
#include <stdio.h>

#include "oocobol/oocobol.h"

static oops_ref classOf(const char *program) {
    oops_ref found = 0;
    oopsgetclassobject(&found, program);
    return found;
}

static oops_ref newText(const char *value) {
    static oops_site withValue = OOPS_SITE("withvalue");
    oops_ref made = 0;
    oopsresolve(&withValue, classOf("chararry"), 2, &made, value);
    return made;
}

static void show(oops_ref object) {
    static oops_site description = OOPS_SITE("description"), display = OOPS_SITE("display");
    oops_ref text = 0;
    oopsresolve(&description, object, 1, &text);
    oopsresolve(&display, text, 1, NULL);
    oofinalize(&text);
}

/* ---- account ------------------------------------------------------------------------------------------------- */

struct Account {
    int64_t balance;
    oops_ref owner; /* a text, the account's own */
};

static uint32_t overdrawn; /* the error's number */

/* withowner (null-terminated text) -> account. A class method: self is the class, there is no class data. */
static void accountWithOwner(const oops_ref *self, void *data, oops_ref *returning, const char *name) {
    static oops_site new = OOPS_SITE("new"), setOwner = OOPS_SITE("setowner");
    oops_ref made = 0, owner = newText(name);
    (void)data;
    oopsresolve(&new, *self, 1, &made);
    oopsresolve(&setOwner, made, 2, NULL, &owner);
    if (returning != NULL) *returning = made;
}

/* setowner (text). The account keeps it. */
static void accountSetOwner(const oops_ref *self, struct Account *data, void *returning, const oops_ref *owner) {
    (void)self, (void)returning;
    data->owner = *owner;
}

/* balance () -> amount. deposit (amount). Amounts are 8-byte numbers. */
static void accountBalance(const oops_ref *self, struct Account *data, int64_t *returning) {
    (void)self;
    if (returning != NULL) *returning = data->balance;
}
static void accountDeposit(const oops_ref *self, struct Account *data, void *returning, const int64_t *amount) {
    (void)self, (void)returning;
    data->balance += *amount;
}

/* withdraw (amount) -> amount. More than there is raises `overdrawn`; what the handler answers is answered then. */
static void accountWithdraw(const oops_ref *self, struct Account *data, int64_t *returning, const int64_t *amount) {
    static oops_site raise = OOPS_SITE("raiseexceptionwithtextz");
    if (*amount > data->balance) {
        char wanted[24], held[24];
        snprintf(wanted, sizeof wanted, "%" PRId64, *amount);
        snprintf(held, sizeof held, "%" PRId64, data->balance);
        oopsresolveself(&raise, self, data, 4, returning, &overdrawn, wanted, held);
        return;
    }
    data->balance -= *amount;
    if (returning != NULL) *returning = *amount;
}

/* description () -> text. Redefined: `base` answers what kind of object it is. */
static void accountDescription(const oops_ref *self, struct Account *data, oops_ref *returning) {
    static oops_site concat = OOPS_SITE("concatz");
    char balance[32];
    (void)self;
    snprintf(balance, sizeof balance, " has %" PRId64, data->balance);
    oopsresolve(&concat, data->owner, 2, returning, balance);
}

/* finalize () -> null. With the text it owns. */
static void accountFinalize(const oops_ref *self, struct Account *data, oops_ref *returning) {
    static oops_super_site finalize = OOPS_SUPER_SITE("account", "finalize");
    oofinalize(&data->owner);
    oopsresolvetosuper(&finalize, self, data, 1, returning);
}

/* The class program. */
OOCOBOL_PUBLIC int64_t account(void);
int64_t account(void) {
    static oops_site registerString = OOPS_SITE("registermessagestring");
    union {
        unsigned char bytes[OOPS_RECORD_SIZE + 400];
        uint64_t aligned;
    } record;
    oops_ref class = 0, message = newText("the balance does not cover it");
    oopsresolve(&registerString, classOf("exptnmgr"), 2, &overdrawn, &message);
    oofinalize(&message);

    oops(2);
    oopsrecord(record.bytes, "account", "account", classOf("base"), 0, sizeof(struct Account));
    /* Class methods first. The counts include the returning item. */
    oopsrecordmethod(record.bytes, sizeof record, "withowner", (oops_method)accountWithOwner, 2, OOPS_CLASS_METHOD);
    oopsrecordmethod(record.bytes, sizeof record, "setowner", (oops_method)accountSetOwner, 2, 0);
    oopsrecordmethod(record.bytes, sizeof record, "balance", (oops_method)accountBalance, 1, 0);
    oopsrecordmethod(record.bytes, sizeof record, "deposit", (oops_method)accountDeposit, 2, 0);
    oopsrecordmethod(record.bytes, sizeof record, "withdraw", (oops_method)accountWithdraw, 2, 0);
    oopsrecordmethod(record.bytes, sizeof record, "description", (oops_method)accountDescription, 1, 0);
    oopsrecordmethod(record.bytes, sizeof record, "finalize", (oops_method)accountFinalize, 1, 0);
    oopsnewclass2(record.bytes, &class);
    return 0;
}

/* ---- savings: each withdrawal costs something --------------------------------------------------------------- */

struct Savings { /* what the class adds; its methods get the address of this */
    int32_t withdrawals;
};

static const int64_t fee = 1;

/* withdraw (amount) -> amount. With the fee; nothing is charged where nothing is withdrawn. */
static void savingsWithdraw(const oops_ref *self, struct Savings *data, int64_t *returning, const int64_t *amount) {
    static oops_super_site withdraw = OOPS_SUPER_SITE("savings", "withdraw");
    int64_t whole = *amount + fee, given = 0;
    oopsresolvetosuper(&withdraw, self, data, 2, &given, &whole);
    if (given > 0) {
        ++data->withdrawals;
        given -= fee;
    }
    if (returning != NULL) *returning = given;
}

/* withdrawals () -> count. */
static void savingsWithdrawals(const oops_ref *self, struct Savings *data, int32_t *returning) {
    (void)self;
    if (returning != NULL) *returning = data->withdrawals;
}

OOCOBOL_PUBLIC int64_t savings(void);
int64_t savings(void) {
    union {
        unsigned char bytes[OOPS_RECORD_SIZE + 100];
        uint64_t aligned;
    } record;
    oops_ref class = 0;
    oops(2);
    oopsrecord(record.bytes, "savings", "savingsaccount", classOf("account"), 0, sizeof(struct Savings));
    oopsrecordmethod(record.bytes, sizeof record, "withdraw", (oops_method)savingsWithdraw, 2, 0);
    oopsrecordmethod(record.bytes, sizeof record, "withdrawals", (oops_method)savingsWithdrawals, 1, 0);
    oopsnewclass2(record.bytes, &class);
    return 0;
}

/* ---- The program ---------------------------------------------------------------------------------------------- */

/* The handler, an entry by name: gets the object, the error's number and the texts that were raised with it. Its answer
 * is `withdraw`'s. */
static int64_t refuse(const oops_ref *object, const uint32_t *number, const oops_ref *inserts) {
    static oops_site errorMessage = OOPS_SITE("errormessage"), display = OOPS_SITE("display"), at = OOPS_SITE("at");
    oops_ref text = 0, wanted = 0, held = 0;
    int32_t first = 1, second = 2;
    (void)object;
    oopsresolve(&errorMessage, classOf("exptnmgr"), 2, &text, number);
    oopsresolve(&at, *inserts, 2, &wanted, &first);
    oopsresolve(&at, *inserts, 2, &held, &second);
    printf("Refused, ");
    oopsresolve(&display, text, 1, NULL);
    printf(": ");
    oopsresolve(&display, wanted, 1, NULL);
    printf(" of ");
    oopsresolve(&display, held, 1, NULL);
    printf(".\n");
    oofinalize(&text);
    return 0;
}

static void withdraw(oops_ref from, int64_t amount) {
    static oops_site site = OOPS_SITE("withdraw");
    int64_t given = -1;
    oopsresolve(&site, from, 2, &given, &amount);
    printf("%" PRId64 " asked for, %" PRId64 " given: ", amount, given);
    show(from);
    printf(".\n");
}

int main(void) {
    static oops_site withOwner = OOPS_SITE("withowner"), deposit = OOPS_SITE("deposit"), newEntry = OOPS_SITE("new"),
                     registerHandler = OOPS_SITE("register"), cancel = OOPS_SITE("cancel"),
                     withdrawals = OOPS_SITE("withdrawals");
    oops_ref accounts = classOf("account"), savingAccounts = classOf("savings"), manager = classOf("exptnmgr");
    oops_ref plain = 0, saving = 0, handler = 0;
    uint32_t before = oopsgetobjectcount(0);
    int64_t hundred = 100;
    int32_t count = 0;
    unsigned char cancelled = 0;

    host_register_entry("refuse", (host_entry)(void (*)(void))refuse);
    oopsresolve(&newEntry, classOf("entrycll"), 2, &handler, "refuse");
    oopsresolve(&registerHandler, manager, 3, NULL, &accounts, &handler);
    oopsresolve(&registerHandler, manager, 3, NULL, &savingAccounts, &handler);

    oopsresolve(&withOwner, accounts, 2, &plain, "Ada");
    oopsresolve(&withOwner, savingAccounts, 2, &saving, "Grace");
    oopsresolve(&deposit, plain, 2, NULL, &hundred);
    oopsresolve(&deposit, saving, 2, NULL, &hundred);
    withdraw(plain, 100);
    withdraw(plain, 1);
    withdraw(saving, 60);
    withdraw(saving, 40);
    oopsresolve(&withdrawals, saving, 1, &count);
    printf("Withdrawals: %" PRId32 "\n", count);

    oopsresolve(&cancel, manager, 2, &cancelled, &accounts);
    oopsresolve(&cancel, manager, 2, &cancelled, &savingAccounts);
    oofinalize(&plain);
    oofinalize(&saving);
    oofinalize(&handler);
    if (oopsgetobjectcount(0) == before) puts("Every object has been finalized.");
    return 0;
}
