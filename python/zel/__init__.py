"""ZEL captures as NumPy arrays and pandas data frames, and back.

    import zel

    orders = zel.read("day.zel", "NEW_ORDER")          # a structured array, one row a message
    orders = zel.frame("day.zel", "NEW_ORDER")         # the same as a data frame
    for message in zel.messages("day.zel"): ...        # messages of all types
    zel.write("copy.zel", "NEW_ORDER", orders)

docs/python.md is the guide; `zel.dask` reads captures on a cluster. The functions may be called in any thread.
"""

from .dictionary import Dictionary, Entry, Field, MessageType
from .library import Error, use
from .messages import Counts, Message, decode, encode, messages, summary
from .reading import read
from .table import frame
from .values import DateTime, Money, money
from .version import VERSION as __version__
from .writing import write

__all__ = ["Counts", "DateTime", "Dictionary", "Entry", "Error", "Field", "Message", "MessageType", "Money", "decode",
           "encode", "frame", "messages", "money", "read", "summary", "use", "write"]
