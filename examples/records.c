// A struct of one's own as a message, in C: an order of several legs is packed, read back and printed; then a struct
// that does not fit the dictionary, and everything that is wrong with it. The names are those of the sample dictionary.
#include <stdio.h>
#include <string.h>

#include "zelrecord.h"

#define AT(type, member) (uint32_t) offsetof(type, member)
#define MEMBER(name, kind, type, member) \
    { name, 0, kind, AT(type, member), (uint32_t)sizeof(((type*)0)->member), 0, ZEL_NOWHERE }
#define OPTIONAL(name, kind, type, member, presence) \
    { name, 0, kind, AT(type, member), (uint32_t)sizeof(((type*)0)->member), 0, AT(type, presence) }
#define VIEW(name, type, member) \
    { name, 0, ZEL_VIEW, AT(type, member.data), 0, AT(type, member.length), ZEL_NOWHERE }
#define COUNT_OF(array) (uint32_t)(sizeof(array) / sizeof((array)[0]))

typedef struct Leg {
    char symbol[16];
    int16_t side;
    int32_t ratio;
    _money price;
    uint8_t hasPrice;
} Leg;

typedef struct Spread {
    char reference[20];
    char account[12];
    ZELView trader;
    _money netPrice;
    _datetime enteredAt;
    uint32_t legCount;
    Leg legs[4];
    char note[40];
} Spread;

static const ZELMember kMembers[] = {
    MEMBER("CLIENT_ORDER_REF", ZEL_CHARS, Spread, reference),
    MEMBER("ACCOUNT", ZEL_CHARS, Spread, account),
    VIEW("TRADER", Spread, trader),
    MEMBER("NET_PRICE", ZEL_MONEY, Spread, netPrice),
    MEMBER("ENTERED_AT", ZEL_DATETIME, Spread, enteredAt),
    MEMBER("NOTE", ZEL_CHARS, Spread, note),
};

static const ZELMember kLegMembers[] = {
    MEMBER("LEG_SYMBOL", ZEL_CHARS, Leg, symbol),
    MEMBER("LEG_SIDE", ZEL_INT16, Leg, side),
    MEMBER("LEG_RATIO", ZEL_INT32, Leg, ratio),
    OPTIONAL("LEG_PRICE", ZEL_MONEY, Leg, price, hasPrice),
};

static const ZELGroup kLegs = {AT(Spread, legs),     sizeof(Leg), COUNT_OF(((Spread*)0)->legs),
                               AT(Spread, legCount), kLegMembers, COUNT_OF(kLegMembers)};

static const ZELLayout kSpread = {10, 5, sizeof(Spread), kMembers, COUNT_OF(kMembers), &kLegs};

// What is wrong here: a float for a price, a name that is no field, a member past the end, and no TRADER.
static const ZELMember kWrongMembers[] = {
    MEMBER("CLIENT_ORDER_REF", ZEL_CHARS, Spread, reference),
    MEMBER("ACCOUNT", ZEL_CHARS, Spread, account),
    MEMBER("NET_PRICE", ZEL_FLOAT, Spread, netPrice),
    MEMBER("NOTES", ZEL_CHARS, Spread, note),
    {"ENTERED_AT", 0, ZEL_DATETIME, sizeof(Spread), 8, 0, ZEL_NOWHERE},
};

static const ZELLayout kWrong = {10, 5, sizeof(Spread), kWrongMembers, COUNT_OF(kWrongMembers), NULL};

static Spread SampleSpread(void) {
    Spread spread;
    memset(&spread, 0, sizeof spread);
    strcpy(spread.reference, "CAL-7");
    strcpy(spread.account, "SALT-0042");
    spread.trader.data = "mweber";
    spread.trader.length = 6;
    spread.netPrice.amount = -125;
    spread.netPrice.displayCode = 20;
    spread.enteredAt.day = 17;
    spread.enteredAt.month = 5;
    spread.enteredAt.year = 124;
    spread.enteredAt.kind = 1;
    spread.legCount = 2;
    strcpy(spread.legs[0].symbol, "BARLEY-DEC24");
    spread.legs[0].side = 1;
    spread.legs[0].ratio = 1;
    strcpy(spread.legs[1].symbol, "BARLEY-MAY25");
    spread.legs[1].side = 2;
    spread.legs[1].ratio = 1;
    spread.legs[1].price.amount = 18450;
    spread.legs[1].price.displayCode = 20;
    spread.legs[1].hasPrice = 1;
    strcpy(spread.note, "calendar spread");
    return spread;
}

static void Print(const Spread* spread) {
    char text[24];
    uint32_t leg;
    memset(text, 0, sizeof text);
    ZELMoneyToStr(&spread->netPrice, text, 0);
    printf("%s for %s by %.*s, net %s, %s\n", spread->reference, spread->account, (int)spread->trader.length,
           (const char*)spread->trader.data, text, spread->note);
    for (leg = 0; leg < spread->legCount; ++leg) {
        const Leg* each = &spread->legs[leg];
        memset(text, 0, sizeof text);
        if (each->hasPrice) {
            ZELMoneyToStr(&each->price, text, 0);
        }
        printf("  %s %s x %d%s%s\n", each->side == 1 ? "buy" : "sell", each->symbol, (int)each->ratio,
               each->hasPrice ? " at " : "", text);
    }
}

static int Run(const ZELBinding* binding) {
    const Spread sent = SampleSpread();
    Spread received;
    static char frame[ZEL_MAX_FRAME];
    size_t length = 0;
    ZELFailure failure;
    if (ZELPackRecord(binding, &sent, NULL, frame, sizeof frame, &length, &failure) != 0) {
        printf("%s\n", failure.text);
        return 1;
    }
    printf("%u bytes\n", (unsigned)length);
    memset(&received, 0, sizeof received);
    if (ZELUnpackRecord(binding, frame, length, &received, NULL, &failure) != 0) {
        printf("%s\n", failure.text);
        return 1;
    }
    Print(&received);
    return 0;
}

int main(void) {
    const ZELBinding* binding = NULL;
    char text[1000];
    int status;
    if (ZELStart() != 0) {
        printf("no dictionary\n");
        return 1;
    }
    if (ZELBind(&kSpread, &binding, text, sizeof text) != 0) {
        printf("%s", text);
        ZELStop();
        return 1;
    }
    status = Run(binding);
    ZELFreeBinding(binding);
    if (ZELBind(&kWrong, &binding, text, sizeof text) == ZEL_BAD_LAYOUT) {
        printf("\nwhat does not fit:\n%s", text);
    } else {
        status = 1;
    }
    ZELStop();
    return status;
}
