"""Arrays and options that do not serve, and failures as exceptions."""

import pickle

import idphoto
import numpy
import pytest
from idphoto import _failures

GOOD = numpy.zeros((40, 30, 3), numpy.uint8)


@pytest.mark.parametrize(
    "array, error, word",
    [
        (GOOD.astype(numpy.float32), TypeError, "float32"),
        (GOOD.astype(numpy.int8), TypeError, "int8"),
        (GOOD.astype(numpy.uint16), TypeError, "uint16"),
        (GOOD.astype(bool), TypeError, "bool"),
        (GOOD[..., 0], ValueError, "height, width, 3"),
        (numpy.zeros((40, 30, 4), numpy.uint8), ValueError, "40, 30, 4"),
        (numpy.zeros((2, 40, 30, 3), numpy.uint8), ValueError, "shape"),
        (GOOD[:, ::2], ValueError, "ascontiguousarray"),
        (GOOD[::-1], ValueError, "ascontiguousarray"),
        (GOOD[..., ::-1], ValueError, "ascontiguousarray"),
        (numpy.asfortranarray(GOOD), ValueError, "ascontiguousarray"),
        (GOOD[:0], ValueError, "empty"),
        (numpy.broadcast_to(numpy.uint8(0), (2**20, 2**20, 3)), ValueError, "too large"),
        (numpy.ma.masked_array(GOOD), TypeError, "mask"),
        (GOOD.tolist(), TypeError, "list"),
        (None, TypeError, "NoneType"),
    ],
)
def test_wrong_arrays(array, error, word):
    calls = {
        "make": {"preset": "schengen-visa"},
        "make_pair": {"preset": "cn-marriage-certificate"},
        "check": {"preset": "schengen-visa"},
        "draw_check": {"preset": "schengen-visa"},
        "background": {"background": "white"},
        "compress": {"max_kb": 50},
        "watermark": {"text": "copy"},
        "encode": {"format": "png"},
        **dict.fromkeys(["inspect", "draw_faces", "crop", "retouch", "mask"], {}),
    }
    for name, options in calls.items():
        for order in ("rgb", "bgr"):
            with pytest.raises(error, match=word):
                getattr(idphoto, name)(array, order=order, **options)
    with pytest.raises(error, match=word):
        idphoto.sheet([array], order="rgb", size="35x45mm")


@pytest.mark.parametrize(
    "mask, error, word",
    [
        (numpy.zeros((512, 512), bool), TypeError, "bool"),
        (numpy.ones((512, 512), numpy.float32), TypeError, "float32"),
        (numpy.zeros((512, 512, 3), numpy.uint8), ValueError, "height, width"),
        (numpy.zeros((512, 1024), numpy.uint8)[:, ::2], ValueError, "ascontiguousarray"),
        (numpy.full((512, 511), 255, numpy.uint8), idphoto.BadMask, "size"),
        (numpy.zeros((512, 512), numpy.uint8), idphoto.Failure, "person"),
        (b"no picture", idphoto.NotAPicture, "the mask"),
    ],
)
def test_wrong_masks(sample, mask, error, word):
    with pytest.raises(error, match=word):
        idphoto.make(sample, preset="schengen-visa", mask=mask)


def test_order_is_said():
    with pytest.raises(TypeError, match="order="):
        idphoto.make(GOOD, preset="schengen-visa")
    for order in ("RGB", "grb", ""):
        with pytest.raises(ValueError):
            idphoto.encode(GOOD, "png", order=order)


def test_names_end_where_they_end(sample):
    for call in (idphoto.read, idphoto.inspect, lambda name: idphoto.make(sample, mask=name, size="300x300px")):
        with pytest.raises(ValueError, match="null"):
            call(sample + "\0.png")


def test_failures(sample, tmp_path):
    (tmp_path / "half.png").write_bytes(idphoto.make(sample, preset="schengen-visa", format="png").data[:5000])
    big = idphoto.encode(numpy.zeros((1100, 1000, 3), numpy.uint8), "png", order="rgb")
    cases = [
        (idphoto.NoFile, lambda: idphoto.read(tmp_path / "none.jpg")),
        (idphoto.NoFile, lambda: idphoto.read("")),
        (idphoto.NoFile, lambda: idphoto.inspect(tmp_path)),
        (idphoto.NotAPicture, lambda: idphoto.read(b"")),
        (idphoto.DamagedFile, lambda: idphoto.read(tmp_path / "half.png")),
        (idphoto.TooLarge, lambda: idphoto.make(big, preset="schengen-visa", max_megapixels=1)),
        (idphoto.TooLarge, lambda: idphoto.read(big, max_megapixels=1)),
        (idphoto.NoFace, lambda: idphoto.make(GOOD, order="rgb", preset="schengen-visa")),
        (idphoto.NoFace, lambda: idphoto.crop(GOOD[:1, :1].copy(), order="rgb")),
        (idphoto.NoSuchFace, lambda: idphoto.make(sample, preset="schengen-visa", person=9)),
        (idphoto.TooFewFaces, lambda: idphoto.make_pair(sample, preset="cn-marriage-certificate")),
        (idphoto.UnknownPreset, lambda: idphoto.make(sample, preset="de-pasport")),
        (idphoto.BadOption, lambda: idphoto.make(sample, preset="schengen-visa", max_kb="many")),
        (idphoto.BadOption, lambda: idphoto.make(sample, preset="schengen-visa", format="gif")),
        (idphoto.BadOption, lambda: idphoto.make(sample, preset="schengen-visa", background="--mask")),
        (idphoto.FileSize, lambda: idphoto.make(sample, preset="schengen-visa", max_kb=1)),
        (idphoto.SheetFull, lambda: idphoto.sheet(sample, size="50x50mm", copies=500)),
        (idphoto.BadMask, lambda: idphoto.make(sample, preset="schengen-visa", mask=GOOD[..., 0].copy())),
    ]
    for kind, call in cases:
        with pytest.raises(kind) as caught:
            call()
        failure = caught.value
        assert isinstance(failure, idphoto.Failure) and failure.code == kind.code and str(failure)
        again = pickle.loads(pickle.dumps(failure))
        assert (type(again), str(again), again.fields) == (kind, str(failure), failure.fields)

    assert issubclass(idphoto.NoFile, FileNotFoundError) and issubclass(idphoto.OutOfMemory, MemoryError)
    with pytest.raises(idphoto.NoFit) as caught:
        idphoto.make(sample, size="35x45mm", head="20-22%", background="keep")
    names = [name for name, _ in caught.value.fields]
    assert "bound" in names and isinstance(caught.value.field("wanted_min"), float)
    for call in (idphoto.make, idphoto.inspect, idphoto.sheet):
        with pytest.raises(TypeError, match="colour"):
            call(sample, colour="red")


def test_every_code_of_the_library_has_an_exception():
    import pathlib
    import re

    header = pathlib.Path(__file__).parents[2] / "photo" / "base" / "failure.cpp"
    codes = set(re.findall(r'return "(\w+)"', header.read_text())) - {"unknown"}
    assert len(codes) > 15 and codes == set(_failures.BY_CODE) - {"failure"}
