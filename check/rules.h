// The rules: each has an id, whose breach it is, what a finding says of it in general, and what to
// do. docs/checking.md has a paragraph for each; a test compares the lists.
#pragma once

#include <cstdint>
#include <string_view>

namespace zelcheck {

// clang-format off
#define ZEL_CHECK_CLIENT_RULES(X) \
  X(InstanceNull, "instance-null", "Give an instance: where the header does not say so, null is not allowed.") \
  X(InstanceDead, "instance-dead", "Give the reference back after the last use, not before it.") \
  X(InstanceUnheld, "instance-unheld", "A handle that a procedure returns carries no reference: take one with the container procedure \"AddRef\" before anything else may end the instance.") \
  X(InstanceReleasedTwice, "instance-released-twice", "Give back each reference once; a handle that was only borrowed is not given back at all.") \
  X(InstanceDeletedWhileHeld, "instance-deleted-while-held", "End with \"DeleteUnownedContainer\" only what nobody holds; give a reference back with \"Release\".") \
  X(InstanceLeaked, "instance-leaked", "Give the reference back with the container procedure \"Release\".") \
  X(InstanceNeverHeld, "instance-never-held", "Take a reference and give it back, hand the instance to a container, or end it with \"DeleteUnownedContainer\".") \
  X(AtomNull, "atom-null", "Make the atom first, and look whether \"NewStringAtom\" gave 0.") \
  X(AtomDead, "atom-dead", "Give the atom back after its last use, or take a reference of your own with \"AddRef\".") \
  X(AtomReleasedTwice, "atom-released-twice", "Give each reference to an atom back once.") \
  X(AtomReferenceLost, "atom-reference-lost", "Give the atom back with \"DeleteStringAtom\": once for each \"NewStringAtom\", each \"AddRef\" and each atom that the library delivered.") \
  X(ErrorNull, "error-null", "A null error object is success and has neither message nor number: look first.") \
  X(ErrorDead, "error-dead", "Give the error object back after its last use.") \
  X(ErrorReleasedTwice, "error-released-twice", "Give each reference to an error object back once.") \
  X(ErrorLeaked, "error-leaked", "An error object that a procedure returns carries a reference: give it back with the error procedure \"Release\".") \
  X(BufferNull, "buffer-null", "Look whether \"NewBuffer\" gave null.") \
  X(BufferDead, "buffer-dead", "Give the shared buffer back after its last use.") \
  X(BufferReleasedTwice, "buffer-released-twice", "Give each reference to a shared buffer back once.") \
  X(BufferLeaked, "buffer-leaked", "Give the shared buffer back with \"Release\".") \
  X(BlockDead, "block-dead", "Free each block once, and forget its address.") \
  X(BlockUnknown, "block-unknown", "Only what \"Alloc\" and \"Realloc\" gave is freed; texts and bytes that a procedure returns stay its own.") \
  X(BlockLeaked, "block-leaked", "Free the block with the memory procedure \"Free\".") \
  X(TextNull, "text-null", "Give a text; an empty one is a text.") \
  X(TextUnbounded, "text-unbounded", "End the text with a NUL (a unit of 0). A longer text is meant to be? Raise limit=BYTES.") \
  X(PlaceNull, "place-null", "Give the address of a variable for the result.") \
  X(SizeMisfit, "size-misfit", "Look at where the number comes from: it looks like a negative one, or it has no bytes to go with.") \
  X(ProcedureNull, "procedure-null", "Give the address of a procedure.") \
  X(CallDuringStart, "call-during-start", "Call the library after ZELUtilsInitialize has returned.") \
  X(CallDuringStop, "call-during-stop", "Be done with the library before ZELUtilsTerminate is called.") \
  X(CallAfterStop, "call-after-stop", "Forget the library's procedures when it stops, and look them up again after the next start.") \
  X(SecondThread, "second-thread", "Call the library in one thread, or hand it over as a whole and leave this rule out.") \
  X(ConcurrentCall, "concurrent-call", "One call at a time: put a lock around every use of the library and of the core services.") \
  X(ChangedInUse, "changed-in-use", "Change the container before or after the call that walks it.") \
  X(SchemaChanged, "schema-changed", "Change a schema before or after a validation with it.") \
  X(FailureIgnored, "failure-ignored", "Look at what a procedure returns before you use it.")

#define ZEL_CHECK_HOST_RULES(X) \
  X(HostProcedureMissing, "host-procedure-missing", "Register the procedure before the library is started; one that is never called may have any address.") \
  X(HostRegistrationRefused, "host-registration-refused", "Accept every registration that has three names and an address.") \
  X(HostCounterZero, "host-counter-zero", "Start the unregister counter at 1 and skip 0 when it wraps.") \
  X(HostCounterStays, "host-counter-stays", "Change the counter in every withdrawal of an interface.") \
  X(HostResultWithError, "host-result-with-error", "Store a result or return an error object, never both.") \
  X(HostNothingDelivered, "host-nothing-delivered", "Return an error object when there is no result.") \
  X(HostInstanceReborn, "host-instance-reborn", "Use the place of an instance again only when the instance has ended.") \
  X(HostRecordWrong, "host-record-wrong", "Keep implementation name, signature and object at the offset that \"GetOffsetToPrimaryInstance\" gives, for all of the instance's life.") \
  X(HostDestroyedEarly, "host-destroyed-early", "Destroy an instance when its last reference is given back, not before.") \
  X(HostDestroyedTwice, "host-destroyed-twice", "Call the destroy procedure once.") \
  X(HostNotDestroyed, "host-not-destroyed", "Call the destroy procedure when the last reference is given back and in \"DeleteUnownedContainer\"; a new instance has no reference.") \
  X(HostAtomTextChanged, "host-atom-text-changed", "An atom's text stays where it is and as it is while there are references.") \
  X(HostAtomTextWrong, "host-atom-text-wrong", "\"GetCString\" gives the text that the atom was made of.") \
  X(HostAtomNotUnique, "host-atom-not-unique", "The same text is the same atom, and different texts are different ones.") \
  X(HostMemoryOverlaps, "host-memory-overlaps", "Hand out memory that nobody holds.") \
  X(HostMemoryUnaligned, "host-memory-unaligned", "Align each block for any object.") \
  X(HostMemoryLost, "host-memory-lost", "\"Realloc\" keeps the bytes that fit.") \
  X(HostErrorWrong, "host-error-wrong", "An error object keeps the message and the number that it was made with.") \
  X(HostErrorNull, "host-error-null", "\"NewError\" gives an error object even when memory is short: null would mean success.") \
  X(HostBufferMoved, "host-buffer-moved", "The bytes of a shared buffer stay where they are.") \
  X(HostBufferSize, "host-buffer-size", "\"GetSize\" gives the size that the buffer was made with.") \
  X(HostStreamTooMuch, "host-stream-too-much", "\"Read\" delivers at most what is wanted.") \
  X(HostStreamPosition, "host-stream-position", "\"Mark\" right after \"Seek\" gives the position that was sought.")
// clang-format on

enum class Rule : std::uint8_t {
#define ZEL_CHECK_RULE(name, id, advice) k##name,
  ZEL_CHECK_CLIENT_RULES(ZEL_CHECK_RULE) ZEL_CHECK_HOST_RULES(ZEL_CHECK_RULE)
#undef ZEL_CHECK_RULE
};

struct RuleText {
  std::string_view id;
  std::string_view advice;
  bool isOfHost;
};
const RuleText& TextOf(Rule rule);

}  // namespace zelcheck
