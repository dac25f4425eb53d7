# Short names for the scripts. PHOTOS='a.jpg b.jpg' names photographs for `make try`.
.PHONY: try studio test bench docs
try:
	./scripts/try.sh $(PHOTOS)
studio:
	./scripts/try.sh --studio
test:
	./scripts/test.sh
bench:
	./scripts/bench.sh
docs:
	./scripts/docs.sh
