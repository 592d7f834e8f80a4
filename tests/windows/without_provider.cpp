// A program that finds no zeldata.dll: it gets the error box, which must not block where there is no display, and
// continues.
#include "zelmessage.h"

int main() {
    CZELMessage::init();
    CZELMessage message(0, 0);
    message.createStruct();
    const bool asPromised =
        CZELMessage::getVormaZelData() == nullptr && message.provider == nullptr && message.message == nullptr;
    CZELMessage::terminate();
    return asPromised ? 0 : 1;
}
