// What a listing came to.
#ifndef BRENHOLT_COMMANDS_LISTING_H
#define BRENHOLT_COMMANDS_LISTING_H

namespace brenholt {

struct Listing {
    enum End {
        Whole,
        Cut,         // the folder has more entries than there was room for
        Unanswered,  // refused, silent or cancelled
        Malformed,   // the panel broke the rules of a page
        OutOfStep,   // pages did not answer the requests that they came for
    };

    int count = 0;  // entries written, also when the listing failed later
    End end = Whole;

    // The command's result: a listing that failed counts for nothing.
    int Count() const { return end == Whole || end == Cut ? count : 0; }
};

}  // namespace brenholt

#endif
